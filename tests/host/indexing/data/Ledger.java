/*
 * Licensed under nothing.
 */
package org.example.ledger;

import java.util.List;

/**
 * Keeps accounts.
 *
 * @param <T> what is kept
 */
@Service
@Named("ledger")
public abstract class Ledger<T extends Entry> extends Book implements Reader<T>, AutoCloseable {
    /** The most entries of a page. */
    public static final int MAX_ENTRIES = 64, MIN_ENTRIES = 1;
    private static final Logger log = Logger.get();
    private final List<T> items;
    public static int count;

    static {
        Runnable local = new Runnable() {
            @Override
            public void run() {}
        };
    }

    /** Opens it. */
    public Ledger(String path) {
        this.items = null;
    }

    protected Ledger() { this(""); }

    /**
     * Adds an entry.
     */
    @Override
    @SuppressWarnings({"unchecked", "raw"})
    public <E extends Exception> List<T> add(final T item, int... times) throws E, IOException {
        class Local { void hidden() {} }
        Runnable r = () -> { };
        return items;
    }

    // Adds all.
    public void add(List<? extends T> all /* of them */) {}

    abstract int[] sizes();

    Comparator<T> order = new Comparator<>() {
        public int compare(T a, T b) { return 0; }
    };

    public enum Side implements Named {
        DEBIT { int sign() { return -1; } },
        CREDIT;

        int sign() { return 1; }
    }

    /** A pair. */
    public record Pair<A, B>(A first, B second) implements Comparable<Pair<A, B>> {
        public Pair {
            check(first);
        }

        static Pair<String, String> empty() { return null; }
    }

    interface Visitor<R> {
        String NAME = "visitor";

        R visit(Ledger<?> ledger);

        default void done() {}
    }
}

@interface Audited {
    String by() default "nobody";
}
