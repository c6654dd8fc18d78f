/**
 * Keeps what the page shows.
 *
 * @module shop/store
 */

/** How a key looks. */
export type Key<T = string> = { [K in keyof T]: T[K] } | string;

/* What may be kept. */
export interface Entry<T> extends Base<T> {
  readonly key: string;
  /** Reads it. */
  read(limit?: number): Promise<T>;
  (call: string): void;
  handler: () => void;
}

export const enum Mode { Read = 1, Write }
declare const VERSION: string;
export const DEFAULTS: Record<string, number> = { depth: 3 };
let MAXIMUM = 3;

/** One. */
export function open(path: string): Store<string>;
/** Two. */
export function open(path: URL, mode: Mode): Store<string>;
export function open(path: any, mode?: any): any { const LOCAL = 1; return null; }

export const isKey = <T,>(value: T, ...rest: unknown[]): value is T & Key => true;

namespace inner.deep {
  // Counts.
  export function count(this: Window, a: number): asserts a is 1 { function no() {} }
  class Hidden {}
}

/** Keeps it all. */
@Injectable({ scope: 'root' })
export abstract class Store<T extends object> implements Entry<T>, Other {
  private items: T[] = [];
  /** Makes one. */
  constructor(private readonly path: string, @Inject(LIMIT) limit = 3) {}
  find(key: Key): T | undefined;
  /** Finds one. */
  @Cached(60)
  // between
  @Traced()
  find(key: string, fallback: T = <T>{}): T { return fallback; }
  protected abstract close(force: boolean): void;
  static readonly make = async <U>(path: string): Promise<U> => null!;
  get size(): number { return 0; }
  static readonly limit: number = 3;
  private static MOST = 64;
  readonly path2 = 'x';
  save = debounce((item: T) => {}, 300);
}

/** What the page calls. */
export const actions = { load(id: string): void {}, inner: { reach() {} } } as const;
const hooks = { before() {} } satisfies Hooks;
export const Button = React.forwardRef<HTMLElement, Props>((props: Props, ref) => null);
export const handler = (async (event: Event): Promise<void> => {}) as Handler;

declare global {
  interface Window { store: Store<any>; reload(): void }
}
module old.style { export function count2() {} }

declare module 'other' {
  export function plug(name: string): void;
}
