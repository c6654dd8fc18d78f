// What an index knows of the tree of files that it was made of.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "velmora/host/index/file_record.h"

namespace velmora::host::index {

// All of one state of the index.
struct TreeState {
  std::map<std::string, FileRecord> files = {};  // by path
  // Which version of the extraction made the symbols; empty when something else did: an import.
  std::string extraction = {};
  // The largest files that the user wanted read when they last had it made, in bytes; 0: they said
  // nothing, and the settings do.
  std::uintmax_t largest_file = 0;
  // The program's own model that embedded the symbols; empty when none did.
  std::string own_model = {};
};

}  // namespace velmora::host::index
