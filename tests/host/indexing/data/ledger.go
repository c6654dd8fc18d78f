// Copyright nobody. All rights reserved.

//go:build linux

// Package ledger keeps accounts.
package ledger

import "context"

// MaxEntries is how many entries one page holds.
const MaxEntries = 64

const (
	// Debit takes.
	Debit Side = iota
	Credit
	first, second = 1, 2
	_             = 0
)

const (
	low  = 1
	high = 2
)

var cache = map[string]int{}

// ErrClosed is what a closed book answers.
var ErrClosed = errors.New("ledger: closed")

var (
	// Now tells the time, and tests set it.
	Now = func(zone *time.Location) time.Time {
		var local = time.Now()
		return local.In(zone)
	}
	opened, closed int
	waiting        []Entry
	names          = []string{"debit, which takes from an account", "credit, which gives to it", "transfer, which does both at once"}
	_              io.Reader = (*Book)(nil)
)

// Side is one half of an entry.
type Side int

type (
	// Handler handles one entry.
	Handler func(ctx context.Context, e Entry) error
	Alias   = map[string][]Entry
	pair    struct{ a, b int }
	sides   [2]Side
)

// Entry is a line of the book,
// with what it says.
type Entry struct {
	Side   Side
	Amount int64 `json:"amount"`
	nested struct{ x int }
}

// Reader reads entries.
type Reader[T any, K comparable] interface {
	// Read reads one.
	Read(ctx context.Context, key K) (T, error)
	Closer
	Close() error
}

type List[T any] struct {
	items []T
}

// Open opens a book.
//
//	b, err := Open("x")
func Open(
	path string, // where
	options ...Option,
) (*Book, error) {
	const local = 1
	type inner struct{}
	helper := func() {}
	helper()
	return nil, nil
}

func Map[T, U any](in []T, f func(T) U) []U { return nil }

// Unrelated.

func (l *List[T]) Push(item T) { l.items = append(l.items, item) }

//go:noinline
func (Entry) String() string { return "" }

func (b *Book) Each(f func(e Entry) bool) (n int, err error) {
	return 0, nil
}

func extern(x int) float64
