// What the tests of the C interface check with: a failed check prints itself and ends the program.
#ifndef VELMORA_TESTS_CHECKS_H
#define VELMORA_TESTS_CHECKS_H

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <velmora/velmora.h>

#define CHECK(condition) check((condition), #condition, __FILE__, __LINE__)
// That a call returns the code, and that the message holds the text.
#define CODE(code, text, call) check_code((code), (text), (call), #call, __FILE__, __LINE__)
#define OK(call) CODE(VELMORA_OK, "", call)

static inline void check(bool good, const char* what, const char* file, int line) {
  if (good) return;
  fprintf(stderr, "%s:%d: not so: %s\n", file, line, what);
  exit(1);
}

static inline void check_code(velmora_code wanted, const char* text, velmora_code code,
                              const char* what, const char* file, int line) {
  if (code == wanted && (code == VELMORA_OK || strstr(velmora_message().data, text) != NULL))
    return;
  fprintf(stderr, "%s:%d: %s returned %d: %s\n", file, line, what, (int)code,
          velmora_message().data);
  exit(1);
}

static inline velmora_string text(const char* chars) { return velmora_string_of(chars); }

static inline bool equal(velmora_string left, const char* right) {
  return left.data != NULL && left.size == strlen(right) &&
         memcmp(left.data, right, left.size) == 0;
}

// A new folder, and a file in it.
const char* new_folder(void);
void write_file(const char* folder, const char* name, const char* content);

void test_index(void);
void test_update(void);
void test_repository(void);
void test_callback_errors(void);
void test_arguments(void);
void test_struct_sizes(void);
void test_log(void);
void test_end(void);

#endif
