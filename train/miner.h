// Makes pairs from a git repository: its documentation comments, and its history.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include "pairs.h"
#include "tree.h"
#include "workers.h"

namespace velmora::train {

struct MinerOptions {
  // How many of the newest commits are read.
  std::size_t commits = 5000;
  // Larger commits say too little about each function that they change.
  std::size_t most_files = 10;
  std::size_t most_functions = 8;
};

struct Mined {
  Tree
      tree;  // every symbol that takes part in retrieval; named after its folder, without questions
  std::vector<Pair> docs;     // in the order of the symbols
  std::vector<Pair> commits;  // newest commit first; one of a commit for each function it changed
};

// Reads the repository whose files lie at `root` with the program's own indexer, and its history
// with git. A pair of a commit is a function that the commit changed and that the files of today
// still have, as it is today. Merges, reverts, large commits and tests are left out, and so are
// questions of fewer than two words. Throws std::runtime_error when `root` is no git work tree.
[[nodiscard]] Mined mine(const std::filesystem::path& root, Workers& workers,
                         const MinerOptions& options = {});

}  // namespace velmora::train
