#include <poll.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

#include "cli/embedding_options.h"
#include "cli/index_location.h"
#include "cli/output.h"
#include "indexing/folder_watch.h"
#include "velmora/host/cli/commands.h"
#include "velmora/host/index/index.h"
#include "velmora/host/index/writer_lock.h"
#include "velmora/host/indexing/extract.h"
#include "velmora/host/indexing/refresh.h"
#include "velmora/logging.h"

namespace velmora::host::cli {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr logging::Logger LOGGER("velmora.host.cli");

// One line on the terminal that tells how far work is that takes a while; nothing when standard
// error is none, nor among the lines of a verbose log.
class Progress {
 public:
  Progress() : shown_(isatty(STDERR_FILENO) == 1 && !LOGGER.enabled(logging::Level::debug)) {}
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress() {
    if (shown_) std::fputs("\r\033[K", stderr);
  }

  void show(const indexing::RefreshProgress& progress) {
    if (!shown_ || progress.files_done == 0) return;
    const Clock::time_point now = Clock::now();
    if (now < next_) return;
    next_ = now + std::chrono::milliseconds(100);
    if (progress.embedded > 0) {
      std::fprintf(stderr, "\r\033[KEmbedding: %lld symbols",
                   static_cast<long long>(progress.embedded));
      return;
    }
    const double seconds = std::chrono::duration<double>(now - start_).count();
    const double rate = static_cast<double>(progress.files_done) / seconds;
    const auto files_left = static_cast<double>(progress.file_count - progress.files_done);
    std::fprintf(
        stderr, "\r\033[KIndexing: %zu of %zu files, %zu symbols, %.0f files/s, %.0f s left",
        progress.files_done, progress.file_count, progress.symbols, rate, files_left / rate);
  }

 private:
  const bool shown_;
  const Clock::time_point start_ = Clock::now();
  // The first moments' rate says nothing about the time left.
  Clock::time_point next_ = start_ + std::chrono::milliseconds(500);
};

std::string counted(std::size_t count, const std::string& thing) {
  return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

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

// The folder of the index, which keeps itself out of version control.
void make_index_folder(const fs::path& folder) {
  fs::create_directories(folder);
  const fs::path ignore = folder / ".gitignore";
  if (fs::exists(ignore)) return;
  std::ofstream file(ignore);
  file << "*\n";
  file.close();
  if (!file) throw std::runtime_error(ignore.string() + " cannot be written");
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

struct IndexOptions {
  std::string folder = ".";
  std::uintmax_t largest_file = indexing::ScanOptions().largest_file;
  bool no_wait = false;
  bool watch = false;
  EmbeddingOptions embedding;
};

// The model that embeds the symbols; null when they are not to be embedded, or cannot be.
std::shared_ptr<const embedding::WordModel> embedding_model(const EmbeddingOptions& options,
                                                            const fs::path& index_file) {
  if (options.none) return nullptr;
  try {
    return builtin_engine(options, index_file)->model();
  } catch (const engines::EmbeddingNotReadyError& error) {
    if (chosen_model_file(options, index_file)) throw;
    std::fputs(("velmora: " + printable(error.what()) + ". Indexing without embeddings\n").c_str(),
               stderr);
    return nullptr;
  }
}

// The user ended the watch.
struct Interrupted {};

// The lock of an index, once whoever holds it is done. `check` is called while it waits.
index::WriterLock take_lock(const fs::path& file, bool no_wait,
                            const std::function<void()>& check) {
  for (bool told = false;; told = true) {
    std::optional<index::WriterLock> lock = index::WriterLock::try_take(file);
    if (lock) return std::move(*lock);
    const std::string busy = "The index is being brought up to date by " +
                             printable(index::WriterLock::holder(file)) + ". ";
    if (no_wait) throw std::runtime_error(busy + "Try again when it is done");
    if (!told) std::fputs(("velmora: " + busy + "Waiting for it\n").c_str(), stderr);
    check();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
}

// Brings the index of a folder up to date. `check` is called often; what it throws ends the work.
std::pair<indexing::RefreshReport, Clock::duration> refresh_folder(
    const IndexOptions& options, std::shared_ptr<const embedding::WordModel> model,
    const std::function<void()>& check) {
  const fs::path folder = options.folder;
  const fs::file_status status = fs::status(folder);
  if (!fs::exists(status)) throw std::runtime_error(folder.string() + " does not exist");
  if (!fs::is_directory(status)) throw std::runtime_error(folder.string() + " is not a folder");

  const fs::path file = index_of_repository(folder);
  make_index_folder(file.parent_path());
  const auto lock = take_lock(file.parent_path() / "lock", options.no_wait, check);
  const Clock::time_point start = Clock::now();
  Progress progress;
  const auto show = [&](const indexing::RefreshProgress& now) {
    check();
    progress.show(now);
  };
  indexing::RefreshReport report = indexing::refresh(
      folder, *index::Index::open_or_create(file),
      {.largest_file = options.largest_file, .model = std::move(model), .progress = show});
  return {std::move(report), Clock::now() - start};
}

// Becomes readable when the user wants to end the program, which no longer ends by itself then.
class EndSignals {
 public:
  EndSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    // Before there is any other thread, so that all of them inherit it.
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    descriptor_ = ::signalfd(-1, &signals, SFD_CLOEXEC);
    if (descriptor_ < 0) throw std::runtime_error("Signals cannot be waited for");
  }
  EndSignals(const EndSignals&) = delete;
  EndSignals& operator=(const EndSignals&) = delete;
  ~EndSignals() { ::close(descriptor_); }

  [[nodiscard]] int descriptor() const { return descriptor_; }

  // Throws Interrupted when one has come.
  void check() const {
    pollfd ready{descriptor_, POLLIN, 0};
    if (::poll(&ready, 1, 0) > 0) throw Interrupted();
  }

 private:
  int descriptor_ = -1;
};

// Brings the index up to date whenever something changes, until the user ends it.
void watch_folder(const IndexOptions& options,
                  const std::shared_ptr<const embedding::WordModel>& model) {
  constexpr auto QUIET = std::chrono::milliseconds(100);
  constexpr auto LONGEST = std::chrono::seconds(1);
  const EndSignals signals;
  indexing::FolderWatch watch(options.folder, signals.descriptor());
  bool first = true;
  do {
    try {
      // Watched before they are read: what changes in between makes another round.
      watch.watch_folders();
      const auto [report, time] = refresh_folder(options, model, [&] { signals.check(); });
      if (first || report.added + report.changed + report.removed > 0) {
        write_output(summary(report, time));
      }
      if (first) write_output("Watching " + printable(options.folder) + "; Ctrl-C ends it\n");
      first = false;
    } catch (const Interrupted&) {
      return;
    } catch (const NobodyReads&) {
      throw;
    } catch (const std::exception& error) {
      if (first) throw;
      std::fputs(("velmora: " + printable(error.what()) + "\n").c_str(), stderr);
    }
  } while (watch.wait(QUIET, LONGEST));
}

void index_folder(const IndexOptions& options) {
  const auto model = embedding_model(options.embedding, index_of_repository(options.folder));
  if (options.watch) return watch_folder(options, model);
  const auto [report, time] = refresh_folder(options, model, [] {});
  write_output(summary(report, time));
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
  command->add_flag("--watch", options->watch,
                    "Go on: bring the index up to date whenever files change, until Ctrl-C");
  add_embedding_options(*command, options->embedding,
                        "Do not embed new symbols; the next run without it does");
  command->footer(
      "The index is DIR/.velmora/index.db. Later runs read what has changed only; an index that "
      "is\n"
      "being brought up to date answers from its last state until it is done.\n"
      "In a git work tree the files that git does not ignore are read.\n"
      "Languages: " +
      language_list() + ".");
  command->callback([options, &exit_code] {
    index_folder(*options);
    exit_code = ExitCode::answered;
  });
}

}  // namespace velmora::host::cli
