#include <malloc.h>

#include "velmora/host/cli/program.h"

int main(int argc, char** argv) {
  // An answer makes tables of many megabytes that grow step by step. What they let go of is used
  // again, rather than given back to the system and asked for anew, page by page.
  ::mallopt(M_MMAP_THRESHOLD, 32 << 20);
  ::mallopt(M_TRIM_THRESHOLD, 128 << 20);
  return velmora::host::cli::run(argc, argv);
}
