#include "upkeep/make_index.h"

#include <stdexcept>
#include <utility>

#include "settings/settings.h"
#include "upkeep/index_place.h"
#include "velmora/host/index/index.h"
#include "velmora/host/index/index_folder.h"

namespace velmora::host::upkeep {
namespace {

namespace fs = std::filesystem;

bool is_indexed_here(const fs::path& file) {
  try {
    const auto index = index::Index::find(file);
    return index && index->made_here();
  } catch (const index::IndexError&) {
    return false;
  }
}

}  // namespace

indexing::RefreshReport make_index(const fs::path& folder, const MakeOptions& options) {
  const fs::file_status status = fs::status(folder);
  if (!fs::exists(status)) throw std::runtime_error(folder.string() + " does not exist");
  if (!fs::is_directory(status)) throw std::runtime_error(folder.string() + " is not a folder");

  indexing::SourceRules rules = settings::source_rules(folder);
  const fs::path file = index_of_repository(folder);
  const bool consent = options.consent || is_indexed_here(file);
  if (!consent) require_no_consent(folder);
  index::make_index_folder(folder);
  const index::WriterLock lock = options.lock(file);
  const auto index = index::Index::open_or_remake(file, options.rebuild, options.tell);
  try {
    return indexing::refresh(folder, *index,
                             {.rules = std::move(rules),
                              .largest_file = options.largest_file,
                              .most_files = consent ? indexing::ANY_NUMBER_OF_FILES : MOST_FILES,
                              .retry = options.retry,
                              .model = options.model,
                              .progress = options.progress});
  } catch (const indexing::TooManyFilesError& error) {
    throw ConsentError(std::string(error.what()) +
                       ", and is indexed with --yes only. To index a part of it: velmora index"
                       " DIR");
  }
}

}  // namespace velmora::host::upkeep
