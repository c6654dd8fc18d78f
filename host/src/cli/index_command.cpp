#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "cli/embed_folder.h"
#include "cli/embedding_options.h"
#include "cli/end_signals.h"
#include "cli/index_location.h"
#include "cli/index_lock.h"
#include "cli/output.h"
#include "cli/progress_line.h"
#include "indexing/folder_watch.h"
#include "velmora/host/cli/commands.h"
#include "velmora/host/index/index.h"
#include "velmora/host/index/index_folder.h"
#include "velmora/host/indexing/languages.h"
#include "velmora/host/indexing/refresh.h"

namespace velmora::host::cli {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

// "Skipped 3 (2: it is a link, 1: it is binary); --verbose lists them"
std::string skipped_summary(const std::vector<indexing::Skipped>& skipped) {
  std::map<std::string, std::size_t> reasons;
  for (const indexing::Skipped& one : skipped) ++reasons[one.reason];
  std::string list;
  for (const auto& [reason, count] : reasons) {
    list += (list.empty() ? "" : ", ") + std::to_string(count) + ": " + reason;
  }
  return "Skipped " + std::to_string(skipped.size()) + " (" + list + "); --verbose lists them\n";
}

// "Indexed 3 files, 9 symbols, in 0.1 s: 1 added, 0 changed, 0 removed, 2 unchanged"
std::string summary(const indexing::RefreshReport& report, Clock::duration time) {
  char seconds[32];
  std::snprintf(seconds, sizeof seconds, "%.1f s", std::chrono::duration<double>(time).count());
  std::string text = "Indexed " + counted(report.indexed(), "file") + ", " +
                     counted(static_cast<std::size_t>(report.symbols), "symbol") + ", in " +
                     seconds + ": " + std::to_string(report.added) + " added, " +
                     std::to_string(report.changed) + " changed, " +
                     std::to_string(report.removed) + " removed, " +
                     std::to_string(report.unchanged) + " unchanged\n";
  if (!report.skipped.empty()) text += skipped_summary(report.skipped);
  return text;
}

std::string progress_text(const indexing::RefreshProgress& progress, double seconds) {
  if (progress.files_done == 0) return {};
  if (progress.embedded > 0) return "Embedding: " + std::to_string(progress.embedded) + " symbols";
  return "Indexing: " + std::to_string(progress.files_done) + " of " +
         std::to_string(progress.file_count) + " files, " + std::to_string(progress.symbols) +
         " symbols, " +
         rate_text(static_cast<double>(progress.files_done),
                   static_cast<double>(progress.file_count - progress.files_done), "files",
                   seconds);
}

struct IndexOptions {
  std::string folder = ".";
  std::uintmax_t largest_file = indexing::ScanOptions().largest_file;
  bool no_wait = false;
  bool watch = false;
  bool retry = false;
  bool rebuild = false;
  EmbeddingOptions embedding;
  bool embed = false;
  ServerEmbeddingOptions server;
};

// The model that embeds the symbols; null when they are not to be embedded, or cannot be.
std::shared_ptr<const embedding::WordModel> embedding_model(const EmbeddingOptions& options,
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

// Brings the index of a folder up to date. `check` is called often; what it throws ends the work.
std::pair<indexing::RefreshReport, Clock::duration> refresh_folder(
    const IndexOptions& options, bool rebuild, std::shared_ptr<const embedding::WordModel> model,
    const std::function<void()>& check) {
  const fs::path folder = options.folder;
  const fs::file_status status = fs::status(folder);
  if (!fs::exists(status)) throw std::runtime_error(folder.string() + " does not exist");
  if (!fs::is_directory(status)) throw std::runtime_error(folder.string() + " is not a folder");

  const fs::path file = index_of_repository(folder);
  index::make_index_folder(folder);
  const auto lock = take_index_lock(file, options.no_wait, check);
  const Clock::time_point start = Clock::now();
  ProgressLine line;
  const auto show = [&](const indexing::RefreshProgress& now) {
    check();
    line.show([&](double seconds) { return progress_text(now, seconds); });
  };
  indexing::RefreshReport report =
      indexing::refresh(folder, *index::Index::open_or_remake(file, rebuild, tell),
                        {.largest_file = options.largest_file,
                         .retry = options.retry,
                         .model = std::move(model),
                         .progress = show});
  return {std::move(report), Clock::now() - start};
}

// Brings the index up to date whenever something changes, until the user ends it.
void watch_folder(IndexOptions options, const std::shared_ptr<const embedding::WordModel>& model) {
  // Should it be removed and made anew, the new one is meant, even when it is the current folder.
  const std::string name = std::exchange(options.folder, fs::absolute(options.folder).string());
  constexpr auto QUIET = std::chrono::milliseconds(100);
  constexpr auto LONGEST = std::chrono::seconds(1);
  const EndSignals signals;
  const auto check = [&] { signals.check(); };
  indexing::FolderWatch watch(options.folder, signals.descriptor());
  bool first = true;
  do {
    try {
      // Watched before they are read: what changes in between makes another round.
      watch.watch_folders();
      const auto [report, time] = refresh_folder(options, first && options.rebuild, model, check);
      if (first || report.added + report.changed + report.removed > 0) {
        write_output(summary(report, time));
        if (options.embed) embed_folder(options.folder, options.server, check);
      }
      if (first) write_output("Watching " + printable(name) + "; Ctrl-C ends it\n");
      first = false;
    } catch (const Interrupted&) {
      return;
    } catch (const NobodyReads&) {
      throw;
    } catch (const std::exception& error) {
      if (first) throw;
      tell(error.what());
    }
  } while (watch.wait(QUIET, LONGEST));
}

void index_folder(const IndexOptions& options) {
  if (options.embed) require_server(options.server);
  const auto model = embedding_model(options.embedding, index_of_repository(options.folder));
  if (options.watch) return watch_folder(options, model);
  const auto [report, time] = refresh_folder(options, options.rebuild, model, [] {});
  write_output(summary(report, time));
  if (options.embed) embed_folder(options.folder, options.server);
}

std::string language_list() {
  std::string list;
  for (const std::string_view title : indexing::language_titles()) {
    list.append(list.empty() ? "" : ", ").append(title);
  }
  return list;
}

}  // namespace

void add_index_command(CLI::App& app, ExitCode& exit_code) {
  CLI::App* command =
      app.add_subcommand("index", "Index the symbols of a repository, so that explore finds them");
  const auto options = std::make_shared<IndexOptions>();
  command->add_option("dir", options->folder, "The repository; the current folder when absent")
      ->type_name("DIR");
  command
      ->add_option("--max-file-size", options->largest_file,
                   "Leave out files that are larger; default 2097152")
      ->type_name("BYTES");
  command->add_flag("--no-wait", options->no_wait,
                    "Fail at once when another velmora is indexing; exit code 3");
  command->add_flag("--retry", options->retry,
                    "Read files again that were left out because parsing them took too much");
  command->add_flag("--watch", options->watch,
                    "Go on: bring the index up to date whenever files change, until Ctrl-C");
  command->add_flag(
      "--rebuild", options->rebuild,
      "Make the index anew, as if there were none; what velmora embed stored is gone");
  add_embedding_options(*command, options->embedding,
                        "Do not embed new symbols; the next run without it does");
  command->add_flag("--embed", options->embed,
                    "Let a server's model embed the symbols too, as velmora embed does");
  add_server_embedding_options(*command, options->server);
  command->footer(
      "The index is DIR/.velmora/index.db. Later runs read what has changed only; an index that "
      "is\n"
      "being brought up to date answers from its last state until it is done. One that is "
      "damaged,\n"
      "or that was not made here by you, is made anew.\n"
      "In a git work tree the files that git does not ignore are read.\n"
      "No server is asked without --embed; new symbols get the vectors that are known of their "
      "text.\n"
      "Languages: " +
      language_list() + ".");
  command->callback([options, &exit_code] {
    index_folder(*options);
    exit_code = ExitCode::answered;
  });
}

}  // namespace velmora::host::cli
