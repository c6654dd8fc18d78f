// Copyright nobody.
using System;

namespace Example.Books
{
    /// <summary>
    /// Keeps accounts, see <see cref="Entry"/>.
    /// </summary>
    /// <typeparam name="T">What is kept.</typeparam>
    [Serializable]
    public abstract class Ledger<T> : Book, IReader<T> where T : Entry, new()
    {
        /// <summary>The most entries of a page.</summary>
        public const int MaxEntries = 64, MinEntries = 1;
        private static readonly string DefaultName = "ledger";
        private static readonly object _lock = new object();
        private readonly T[] items;

        public int Count { get; set; }

        /// <summary>Whether <c>a &lt; b</c>.</summary>
        public bool IsEmpty => Count == 0;

        /// <summary>Raised when an entry was added.</summary>
        public event EventHandler<EntryArgs> Added, Removed;

        public event Action Closed
        {
            add { void Local() { } }
            remove { }
        }

        public string Name
        {
            get { return items.ToString(); }
            private set { }
        }

        /** <summary>Opens it.</summary> */
        public Ledger(string path, int size = 10) : base(path) { }

        ~Ledger() { }

        [Obsolete("old")]
        // Adds one.
        public async Task<List<U>> AddAsync<U>(
            T item, /* what */
            params U[] rest) where U : class
        {
            int Local(int x) { return x; }
            Func<int, int> f = x => x + 1;
            return null;
        }

        public void Add(T item) => items[0] = item;
        protected abstract int Size();
        public static Ledger<T> operator +(Ledger<T> a, Ledger<T> b) => a;
        public static implicit operator string(Ledger<T> ledger) => "";
        public T this[int index] { get { return items[index]; } }
        void IReader<T>.Close() { }

        public enum Side : byte { Debit, Credit }

        public struct Page { public int Number; public readonly int Next() => Number + 1; }
    }

    public delegate bool Filter<in T>(T item);

    /// <summary>Reads.</summary>
    public interface IReader<T>
    {
        string Title { get; }
        void Close();
    }

    public record Pair<A>(A First, A Second) : IComparable;

    public readonly record struct Point(int X, int Y);

    public static class Extensions
    {
        public static int Twice(this int value) => value * 2;
    }
}
