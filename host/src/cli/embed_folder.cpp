#include "cli/embed_folder.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <stdexcept>
#include <stop_token>

#include "cli/end_signals.h"
#include "cli/index_lock.h"
#include "cli/output.h"
#include "cli/progress_line.h"
#include "upkeep/index_place.h"
#include "velmora/host/embedding/server_vectors.h"
#include "velmora/host/index/index.h"

namespace velmora::host::cli {
namespace {

using Clock = std::chrono::steady_clock;

// "Embedded 3 texts for 4 symbols with NAME, in 0.1 s; 9 symbols in all"
std::string summary(const embedding::ServerEmbedReport& report, const std::string& model,
                    Clock::duration time) {
  std::array<char, 32> seconds{};
  std::snprintf(seconds.data(), seconds.size(), "%.1f s",
                std::chrono::duration<double>(time).count());
  return "Embedded " + counted(static_cast<std::size_t>(report.texts), "text") + " for " +
         counted(static_cast<std::size_t>(report.given), "symbol") + " with " +
         printable_line(model) + ", in " + seconds.data() + "; " +
         counted(static_cast<std::size_t>(report.symbols), "symbol") + " in all\n";
}

}  // namespace

void embed_folder(const std::string& folder, const ServerEmbeddingOptions& options,
                  const std::function<void()>& check) {
  const std::filesystem::path file = upkeep::index_of_repository(folder);
  const auto index = index::Index::open(file);
  if (!index->made_here()) {
    throw std::runtime_error("The index at " + file.string() +
                             " was not made here by you. Make it anew with: velmora index " +
                             folder);
  }
  const auto lock = take_embed_lock(file, false, check);
  const Clock::time_point start = Clock::now();
  ProgressLine line("Embedding");
  std::int64_t before = -1;
  const auto show = [&](const embedding::ServerEmbedProgress& now) {
    check();
    if (before < 0 && now.total > 0) before = now.done;
    if (before < 0 || now.done == before) return;
    line.show([&](double seconds) {
      return std::to_string(now.done) + " of " + std::to_string(now.total) + " symbols, " +
             rate_text(static_cast<double>(now.done - before),
                       static_cast<double>(now.total - now.done), "symbols", seconds);
    });
  };
  const auto take_lock = [&](const std::stop_token& stop) {
    return take_index_lock(file, false, [&] {
      check();
      if (stop.stop_requested()) throw Interrupted();
    });
  };
  const embedding::ServerEmbedReport report = embedding::embed_with_server(
      *index, {.url = options.url,
               .model = options.model,
               .api_key = embeddings_key(),
               .prefix = options.prefix,
               .text_length = options.text_length,
               .batch_size = options.batch_size,
               .parallel = options.parallel,
               .half_precision = options.half_precision,
               .anew = options.anew,
               .deadline = std::chrono::seconds(options.timeout_seconds),
               .lock = take_lock,
               .progress = show});
  write_output(summary(report, options.model, Clock::now() - start));
}

void embed_folder(const std::string& folder, const ServerEmbeddingOptions& options) {
  const EndSignals signals;
  try {
    embed_folder(folder, options, [&] { signals.check(); });
  } catch (const Interrupted&) {
    tell("Stopped. What was embedded is kept; the same command goes on from there");
    throw;
  }
}

}  // namespace velmora::host::cli
