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

// Side is one half of an entry.
type Side int

type (
	// Handler handles one entry.
	Handler func(ctx context.Context, e Entry) error
	Alias   = map[string][]Entry
	pair    struct{ a, b int }
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
