/** Draws one. */
export const Row: FC<Props> = ({ item, ...rest }: Props): JSX.Element => <li {...rest}>{item}</li>;
export default class Table<T> extends React.Component<Props<T>> {
  render() { return <table>{this.props.rows.map((row) => <Row item={row} />)}</table>; }
}
export const view = <T,>(item: T) => <b>{item}</b>;
export const View = memo(function View({ rows }: Props) { return <Table rows={rows} />; });
