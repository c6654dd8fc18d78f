// Makes pairs from a git repository: its documentation comments, and its history.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include "pairs.h"
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
  std::vector<Pair> symbols;  // every symbol that takes part in retrieval; the query is empty
  std::vector<Pair> docs;     // in the order of the symbols
  std::vector<Pair> commits;  // newest commit first; one of a commit for each function it changed
};

// Reads the repository whose files lie at `root` with the program's own indexer, and its history
// with git. A pair of a commit is a function that the commit changed and that the files of today
// still have, as it is today. Merges, reverts, large commits and tests are left out, and so are
// questions of fewer than two words. Throws std::runtime_error when `root` is no git work tree.
[[nodiscard]] Mined mine(const std::filesystem::path& root, Workers& workers,
                         const MinerOptions& options = {});

// The question that a docstring answers: its first sentence, without the symbol's own name at its
// beginning.
[[nodiscard]] std::string first_sentence(std::string_view docstring, std::string_view name);

// The question that a commit's subject is: without numbers of issues.
[[nodiscard]] std::string question_of_subject(std::string_view subject);

}  // namespace velmora::train
