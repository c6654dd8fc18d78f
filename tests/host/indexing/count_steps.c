// Counts the steps of what is compiled with -fsanitize-coverage=trace-pc, and of the functions of
// the C library that it calls: those below stand in for them everywhere in the program.
#include <stddef.h>
#include <stdint.h>

// Volatile, so that no loop that counts is taken for a call of such a function.
volatile uint64_t steps = 0;

// Called at each branch.
void __sanitizer_cov_trace_pc(void) { steps = steps + 1; }

void* memchr(const void* bytes, int value, size_t size) {
  const unsigned char* at = bytes;
  for (size_t i = 0; i < size; ++i) {
    steps = steps + 1;
    if (at[i] == (unsigned char)value) return (void*)(at + i);
  }
  return NULL;
}

int memcmp(const void* left, const void* right, size_t size) {
  const unsigned char *a = left, *b = right;
  for (size_t i = 0; i < size; ++i) {
    steps = steps + 1;
    if (a[i] != b[i]) return a[i] < b[i] ? -1 : 1;
  }
  return 0;
}

void* memmove(void* to, const void* from, size_t size) {
  unsigned char* a = to;
  const unsigned char* b = from;
  for (size_t i = 0; i < size; ++i) {
    steps = steps + 1;
    const size_t place = a < b ? i : size - 1 - i;
    a[place] = b[place];
  }
  return to;
}

void* memcpy(void* to, const void* from, size_t size) { return memmove(to, from, size); }
