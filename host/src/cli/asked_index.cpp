#include "cli/asked_index.h"

#include <CLI/CLI.hpp>
#include <string>

#include "cli/output.h"
#include "cli/progress_line.h"
#include "cli/refresh_folder.h"
#include "index/index_errors.h"
#include "upkeep/bring_up_to_date.h"
#include "velmora/host/index/index_folder.h"

namespace velmora::host::cli {
namespace {

namespace fs = std::filesystem;

// Of one that was not made here all is read.
constexpr const char* OPENING = "Opening the index";

// Symbols are embedded whether or not this one question wants their vectors.
EmbeddingOptions for_symbols(EmbeddingOptions options) {
  options.none = false;
  return options;
}

void look_after(index::Index& index, const fs::path& file, const EmbeddingOptions& embedding) {
  const fs::path root = index::repository_of(file);
  RefreshLine line("Looking for changes", "Bringing the index up to date");
  const upkeep::UpkeepReport report = upkeep::bring_up_to_date(
      root, index,
      {.model = [&] { return indexing_model(for_symbols(embedding), file); },
       .progress = [&](const indexing::RefreshProgress& now) { line.show(now); }});
  const std::string note = upkeep::note(report, root);
  if (!note.empty()) tell(note);
}

void make(const fs::path& file, const EmbeddingOptions& embedding, bool yes) {
  const fs::path root = index::repository_of(file);
  const RefreshedFolder done = refresh_folder(
      root, {.consent = yes, .model = indexing_model(for_symbols(embedding), file)}, false, [] {});
  tell("The index of " + root.string() + " is new. " + done.headline);
}

// Null when there is none, or none that this program can use: it is made anew then, as by velmora
// index.
std::shared_ptr<index::Index> find(const fs::path& file) {
  try {
    return index::Index::find(file);
  } catch (const index::UnusableIndexError&) {
    return nullptr;
  }
}

}  // namespace

void AskedIndex::add_to(CLI::App& command) {
  command.option_defaults()->group("Which index");
  IndexLocation::add_to(command);
  command.option_defaults()->group("Upkeep");
  command.add_flag("--no-refresh", no_refresh,
                   "Leave a stale index as it is, also where two seconds would do");
  command.add_flag("--no-index", no_index, "Make no index where there is none");
  command.add_flag("-y,--yes", yes, "Index your home folder, / or over 200,000 files too");
}

std::shared_ptr<index::Index> AskedIndex::open(const EmbeddingOptions& embedding) const {
  const fs::path file = this->file();
  std::shared_ptr<index::Index> opened;
  {
    const ProgressLine line(OPENING);
    opened = index || no_index ? index::Index::open(file) : find(file);
  }
  if (!opened) {
    make(file, embedding, yes);
    return index::Index::open(file);
  }
  if (index) return opened;
  if (!no_refresh) {
    look_after(*opened, file, embedding);
  } else if (!opened->made_here()) {
    tell(upkeep::not_made_here(index::repository_of(file)));
  }
  return opened;
}

}  // namespace velmora::host::cli
