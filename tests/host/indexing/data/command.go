//go:build !windows

// Keeps the books of those who ask.
//
// Usage: ledger BOOK
//go:generate stringer
package main

func main() {
	var book = os.Args[1]
	run := func() { ledger.Open(book) }
	run()
}
