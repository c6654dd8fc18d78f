#include "velmora/host/indexing/refresh.h"

#include <algorithm>
#include <set>
#include <string>
#include <utility>

#include "velmora/host/embedding/symbol_text.h"
#include "velmora/host/embedding/symbol_vectors.h"
#include "velmora/host/indexing/languages.h"
#include "velmora/logging.h"

namespace velmora::host::indexing {
namespace {

constexpr logging::Logger LOGGER("velmora.host.indexing");

void log(logging::Level level, std::string_view what, const std::string& path) {
  LOGGER.log(level, [&] { return std::string(what) + " " + path; });
}

// Files the scanned file under what happened to it.
void count(const ScannedFile& scanned, bool known, RefreshReport& report) {
  const index::FileRecord& file = scanned.file;
  if (!file.skipped.empty()) {
    report.skipped.push_back({file.path, file.skipped, false});
  } else if (scanned.state != ScannedFile::State::read) {
    ++report.unchanged;
  } else {
    ++(known ? report.changed : report.added);
    log(logging::Level::debug, known ? "changed" : "added", file.path);
  }
}

// A file that no index can hold is left out, and the others are not the worse for it.
void limit_symbols(ScannedFile& scanned) {
  if (scanned.symbols.size() <= index::MOST_SYMBOLS) return;
  scanned.file.skipped = "it has more than " + std::to_string(index::MOST_SYMBOLS) + " symbols";
  scanned.symbols.clear();
}

void store(const ScannedFile& scanned, index::Update& update) {
  switch (scanned.state) {
    case ScannedFile::State::unchanged:
      break;
    case ScannedFile::State::noted:
      update.note(scanned.file);
      break;
    case ScannedFile::State::read:
      update.put(scanned.file, scanned.symbols);
      break;
  }
}

RefreshReport apply(RepositoryScan& scan, const RefreshOptions& options, index::Update& update) {
  RefreshReport report;
  RefreshProgress progress{.file_count = scan.file_count()};
  std::set<std::string> seen;
  while (true) {
    if (options.progress) options.progress(progress);
    std::optional<ScannedFile> scanned = scan.next();
    if (!scanned) break;
    limit_symbols(*scanned);
    const auto known = update.tree().files.find(scanned->file.path);
    const bool is_known = known != update.tree().files.end();
    count(*scanned, is_known && known->second.skipped.empty(), report);
    store(*scanned, update);
    if (is_known) seen.insert(scanned->file.path);
    progress.files_done = scan.files_done();
    progress.symbols += scanned->symbols.size();
  }
  for (const auto& [path, file] : update.tree().files) {
    if (seen.contains(path)) continue;
    update.remove(path);
    if (!file.skipped.empty()) continue;
    ++report.removed;
    log(logging::Level::debug, "removed", path);
  }
  const std::vector<Skipped>& unlisted = scan.skipped();
  report.skipped.insert(report.skipped.end(), unlisted.begin(), unlisted.end());
  report.ignored = scan.ignored();
  report.others = scan.others();
  std::ranges::sort(report.skipped, {}, &Skipped::path);
  for (const Skipped& one : report.skipped) {
    log(logging::Level::info, "skipped", one.path + ": " + one.reason);
  }
  report.symbols = update.symbol_count();
  embedding::link_known_vectors(update.text_vectors());
  if (options.model) {
    report.embedded = embedding::embed_symbols(update, *options.model,
                                               [&](std::int64_t embedded, std::int64_t to_embed) {
                                                 progress.embedded = embedded;
                                                 progress.to_embed = to_embed;
                                                 if (options.progress) options.progress(progress);
                                               });
  }
  return report;
}

}  // namespace

RefreshReport refresh(const std::filesystem::path& root, index::Index& index,
                      const RefreshOptions& options) {
  RefreshReport report;
  index.update([&](index::Update& update) {
    const bool same_extraction = update.tree().extraction == EXTRACTION_VERSION;
    SourceRules rules = options.rules;
    rules.largest_file = options.largest_file.value_or(rules.largest_file);
    RepositoryScan scan(root, {.rules = std::move(rules),
                               .most_files = options.most_files,
                               .known = &update.tree().files,
                               .parse_known = !same_extraction,
                               .retry = options.retry});
    report = apply(scan, options, update);
    const std::uintmax_t asked = options.largest_file.value_or(0);
    if (!same_extraction || update.tree().largest_file != asked) {
      update.set_made_by(EXTRACTION_VERSION, asked);
    }
  });
  return report;
}

}  // namespace velmora::host::indexing
