// Brings the index of a folder up to date before the user's eyes.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "cli/embedding_options.h"
#include "cli/progress_line.h"
#include "upkeep/make_index.h"
#include "velmora/host/embedding/word_model.h"

namespace velmora::host::cli {

// The model that embeds the symbols of an index; null when they are not to be embedded, or, told by
// a line, cannot be.
[[nodiscard]] std::shared_ptr<const embedding::WordModel> indexing_model(
    const EmbeddingOptions& options, const std::filesystem::path& index_file);

// The progress line of a refresh: what it is at, how far, and how long still.
class RefreshLine {
 public:
  // What it says of the files while they are listed, and while they are read.
  RefreshLine(std::string listing, std::string reading);

  void show(const indexing::RefreshProgress& now);

 private:
  enum class Stage { listing, reading, embedding };  // each is timed by itself

  ProgressLine line_;
  const std::string reading_;
  Stage stage_ = Stage::listing;
};

// What to say of it: "Indexed 3 files, 9 symbols, in 0.1 s"
struct RefreshedFolder {
  indexing::RefreshReport report;
  std::string headline;
};

// Makes the index or brings it up to date, with a progress line. `options` need no lock, progress
// or tell. With `no_wait` it throws when somebody else is at it. `check` is called often; what it
// throws ends the work. Throws what make_index throws.
[[nodiscard]] RefreshedFolder refresh_folder(const std::filesystem::path& folder,
                                             upkeep::MakeOptions options, bool no_wait,
                                             const std::function<void()>& check);

}  // namespace velmora::host::cli
