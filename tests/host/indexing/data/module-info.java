/** What keeps books. */
open module org.example.ledgers {
    requires java.sql;
    exports org.example.ledger;
}
