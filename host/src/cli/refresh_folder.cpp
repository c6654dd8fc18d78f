#include "cli/refresh_folder.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <optional>
#include <utility>

#include "cli/index_lock.h"
#include "cli/output.h"
#include "cli/progress_line.h"

namespace velmora::host::cli {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

std::string headline(const indexing::RefreshReport& report, Clock::duration time) {
  std::array<char, 32> seconds{};
  std::snprintf(seconds.data(), seconds.size(), "%.1f s",
                std::chrono::duration<double>(time).count());
  return "Indexed " + counted(report.indexed(), "file") + ", " +
         counted(static_cast<std::size_t>(report.symbols), "symbol") + ", in " + seconds.data();
}

}  // namespace

std::shared_ptr<const embedding::WordModel> indexing_model(const EmbeddingOptions& options,
                                                           const fs::path& index_file) {
  if (options.none) return nullptr;
  try {
    return builtin_engine(options, index_file)->model();
  } catch (const engines::EmbeddingNotReadyError& error) {
    if (chosen_model_file(options, index_file)) throw;
    tell(std::string(error.what()) + ". Indexing without embeddings");
    return nullptr;
  }
}

std::string progress_text(const indexing::RefreshProgress& progress, double seconds) {
  if (progress.file_count == 0) return "";
  if (progress.to_embed > 0) {
    return "embedded " + std::to_string(progress.embedded) + " of " +
           std::to_string(progress.to_embed) + " symbols";
  }
  std::string text = std::to_string(progress.files_done) + " of " +
                     std::to_string(progress.file_count) + " files, " +
                     std::to_string(progress.symbols) + " symbols";
  if (progress.files_done == 0) return text;
  return text + ", " +
         rate_text(static_cast<double>(progress.files_done),
                   static_cast<double>(progress.file_count - progress.files_done), "files",
                   seconds);
}

RefreshedFolder refresh_folder(const fs::path& folder, upkeep::MakeOptions options, bool no_wait,
                               const std::function<void()>& check) {
  Clock::time_point start;
  std::optional<ProgressLine> line;
  bool listed = false;
  options.lock = [&](const fs::path& index) {
    index::WriterLock lock = take_index_lock(index, no_wait, check);
    start = Clock::now();
    line.emplace("Listing files");
    return lock;
  };
  options.progress = [&](const indexing::RefreshProgress& now) {
    check();
    if (!std::exchange(listed, true)) line->begin("Indexing");
    line->show([&](double seconds) { return progress_text(now, seconds); });
  };
  options.tell = tell;
  RefreshedFolder done{.report = upkeep::make_index(folder, options), .headline = {}};
  done.headline = headline(done.report, Clock::now() - start);
  return done;
}

}  // namespace velmora::host::cli
