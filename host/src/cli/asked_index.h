// The index that a question is asked of: found, made when there is none, brought up to date.
#pragma once

#include <filesystem>
#include <memory>

#include "cli/embedding_options.h"
#include "cli/index_location.h"
#include "velmora/host/index/index.h"

namespace velmora::host::cli {

// --index and --repo, and what is done about the index before it answers.
struct AskedIndex : IndexLocation {
  bool no_refresh = false;
  bool no_index = false;
  bool yes = false;

  // Adds the options to a command, in groups of their own; they outlive the parse.
  void add_to(CLI::App& command);

  // Opens the index for answers from it. A folder without one that this program can use is indexed
  // first, one that is stale is brought up to date when that takes under two seconds; what the user
  // has to know of it is told on standard error. A file that they named by --index is opened and no
  // more. Ends at a signal as end_signals.h says. Throws std::runtime_error with what to do.
  [[nodiscard]] std::shared_ptr<index::Index> open(const EmbeddingOptions& embedding = {}) const;
};

}  // namespace velmora::host::cli
