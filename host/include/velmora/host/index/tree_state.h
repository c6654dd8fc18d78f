// What an index knows of the tree of files that it was made of.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "velmora/host/index/file_record.h"

namespace velmora::host::index {

struct TreeState {
  std::map<std::string, FileRecord> files = {};  // by path
  // Which version of the extraction made the symbols; empty when something else did: an import.
  std::string extraction = {};
  // Larger files were left out, in bytes; 0 as long as `extraction` is empty.
  std::uintmax_t largest_file = 0;
  // The program's own model that embedded the symbols; empty when none did.
  std::string own_model = {};
};

}  // namespace velmora::host::index
