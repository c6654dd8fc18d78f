#include "velmora/host/cli/program.h"

int main(int argc, char** argv) { return velmora::host::cli::run(argc, argv); }
