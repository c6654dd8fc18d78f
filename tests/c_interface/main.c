// The C interface as C programs use it.
#define _POSIX_C_SOURCE 200809L
#include "checks.h"

#include <unistd.h>

// In TMPDIR, which run.sh removes.
static char folder_name[4096];

const char* new_folder(void) {
  const char* parent = getenv("TMPDIR");
  snprintf(folder_name, sizeof folder_name, "%s/c-XXXXXX", parent == NULL ? "/tmp" : parent);
  CHECK(mkdtemp(folder_name) != NULL);
  return folder_name;
}

void write_file(const char* folder, const char* name, const char* content) {
  char path[8192];
  snprintf(path, sizeof path, "%s/%s", folder, name);
  FILE* file = fopen(path, "w");
  CHECK(file != NULL);
  CHECK(fputs(content, file) >= 0);
  CHECK(fclose(file) == 0);
}

int main(void) {
  CHECK(atexit(test_end) == 0);
  test_arguments();
  test_index();
  test_update();
  test_repository();
  test_callback_errors();
  test_struct_sizes();
  test_log();
  return 0;
}
