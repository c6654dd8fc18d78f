#include "cli/refresh_folder.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <optional>
#include <utility>

#include "cli/index_lock.h"
#include "cli/output.h"
#include "embedding/index_model.h"

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

// "120 of 3000 files, 900 symbols, 60 files/s, about 50 s left"
std::string progress_text(const indexing::RefreshProgress& now, double seconds) {
  const auto rate = [&](double done, double total, const char* things) {
    return done > 0 ? ", " + rate_text(done, total - done, things, seconds) : std::string();
  };
  if (now.to_embed > 0) {
    return std::to_string(now.embedded) + " of " + std::to_string(now.to_embed) + " symbols" +
           rate(static_cast<double>(now.embedded), static_cast<double>(now.to_embed), "symbols");
  }
  if (now.file_count == 0) return "";
  return std::to_string(now.files_done) + " of " + std::to_string(now.file_count) + " files, " +
         std::to_string(now.symbols) + " symbols" +
         rate(static_cast<double>(now.files_done), static_cast<double>(now.file_count), "files");
}

}  // namespace

std::shared_ptr<const embedding::WordModel> indexing_model(const EmbeddingOptions& options,
                                                           const fs::path& index_file) {
  if (options.none) return nullptr;
  return embedding::indexing_model(options.file, index_file, tell);
}

RefreshLine::RefreshLine(std::string listing, std::string reading)
    : line_(std::move(listing)), reading_(std::move(reading)) {}

void RefreshLine::show(const indexing::RefreshProgress& now) {
  const Stage stage = now.to_embed > 0 ? Stage::embedding : Stage::reading;
  if (std::exchange(stage_, stage) != stage) {
    line_.begin(stage == Stage::embedding ? "Embedding" : reading_);
  }
  line_.show([&](double seconds) { return progress_text(now, seconds); });
}

RefreshedFolder refresh_folder(const fs::path& folder, upkeep::MakeOptions options, bool no_wait,
                               const std::function<void()>& check) {
  Clock::time_point start;
  std::optional<RefreshLine> line;
  options.lock = [&](const fs::path& index) {
    index::WriterLock lock = take_index_lock(index, no_wait, check);
    start = Clock::now();
    line.emplace("Listing files", "Indexing");
    return lock;
  };
  options.progress = [&](const indexing::RefreshProgress& now) {
    check();
    line->show(now);
  };
  options.tell = tell;
  RefreshedFolder done{.report = upkeep::make_index(folder, options), .headline = {}};
  done.headline = headline(done.report, Clock::now() - start);
  if (done.report.indexed() == 0) {
    tell("No source file was found there. The languages: velmora index --help");
  }
  return done;
}

}  // namespace velmora::host::cli
