// Makes the index of a folder, or brings it up to date whatever that takes.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "velmora/host/embedding/word_model.h"
#include "velmora/host/index/writer_lock.h"
#include "velmora/host/indexing/refresh.h"

namespace velmora::host::upkeep {

struct MakeOptions {
  std::optional<std::uintmax_t> largest_file = {};  // as indexing::RefreshOptions has it
  bool retry = false;    // read files again that parsing took too much for
  bool rebuild = false;  // make it anew though it is there
  // The user means it, be it their home folder, `/` or a folder of more than MOST_FILES files. What
  // has been indexed here before needs no second word.
  bool consent = false;
  // Embeds the symbols; null: they get no vector for now.
  std::shared_ptr<const embedding::WordModel> model = {};
  // Waits for the lock of whoever writes the index. Called once.
  std::function<index::WriterLock(const std::filesystem::path& index)> lock = {};
  // As indexing::RefreshOptions has it.
  std::function<void(const indexing::RefreshProgress&)> progress = {};
  // Gets a sentence about an index that has to be made anew.
  std::function<void(const std::string&)> tell = {};
};

// The settings of the folder count. Throws SettingsError and ConsentError before anything is
// written, std::runtime_error when `folder` is none, and what indexing::refresh and
// Index::open_or_remake throw; the index is as it was then.
[[nodiscard]] indexing::RefreshReport make_index(const std::filesystem::path& folder,
                                                 const MakeOptions& options);

}  // namespace velmora::host::upkeep
