#include <unistd.h>

#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>

#include "cli/index_location.h"
#include "cli/output.h"
#include "velmora/host/cli/commands.h"
#include "velmora/host/index/index.h"
#include "velmora/host/indexing/refresh.h"

namespace velmora::host::cli {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

// One line on the terminal that tells how far the work is; nothing when standard error is none.
class Progress {
 public:
  Progress() : shown_(isatty(STDERR_FILENO) == 1) {}
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
  Clock::time_point next_;
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
};

void index_folder(const IndexOptions& options) {
  const fs::path folder = options.folder;
  const Clock::time_point start = Clock::now();
  const fs::file_status status = fs::status(folder);
  if (!fs::exists(status)) throw std::runtime_error(folder.string() + " does not exist");
  if (!fs::is_directory(status)) throw std::runtime_error(folder.string() + " is not a folder");

  const fs::path file = index_of_repository(folder);
  make_index_folder(file.parent_path());
  const indexing::RefreshReport report = [&] {
    Progress progress;
    const auto show = [&](const indexing::RefreshProgress& now) { progress.show(now); };
    return indexing::refresh(folder, *index::Index::open_or_create(file),
                             {.largest_file = options.largest_file, .progress = show});
  }();
  write_output(summary(report, Clock::now() - start));
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
  command->footer(
      "The index is DIR/.velmora/index.db. Later runs read what has changed only; an index that "
      "is\n"
      "being brought up to date answers from its last state until it is done.\n"
      "In a git work tree the files that git does not ignore are read. Languages: C, C++, Python.");
  command->callback([options, &exit_code] {
    index_folder(*options);
    exit_code = ExitCode::answered;
  });
}

}  // namespace velmora::host::cli
