using Example.Books;

var ledger = Open(args[0]);
Console.WriteLine(Describe(ledger, l => l.Name));

/// <summary>Opens the ledger that the user named.</summary>
static Ledger<Entry> Open(string path)
{
    string Absolute() => System.IO.Path.GetFullPath(path);
    return new Store(Absolute());
}

string Describe<T>(Ledger<T> ledger, Func<Ledger<T>, string> name) where T : Entry, new() => name(ledger);

public sealed class Store : Ledger<Entry>
{
    protected override int Size() => 0;
}
