#include <unistd.h>

#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "cli/index_location.h"
#include "cli/output.h"
#include "velmora/host/cli/commands.h"
#include "velmora/host/index/index.h"
#include "velmora/host/indexing/repository_scan.h"
#include "velmora/logging.h"

namespace velmora::host::cli {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr logging::Logger LOGGER("velmora.host.indexing");

// One line on the terminal that tells how far the work is; nothing when standard error is none.
class Progress {
 public:
  Progress() : shown_(isatty(STDERR_FILENO) == 1) {}
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress() {
    if (shown_) std::fputs("\r\033[K", stderr);
  }

  void show(std::size_t done, std::size_t count) {
    if (!shown_) return;
    const Clock::time_point now = Clock::now();
    if (now < next_) return;
    next_ = now + std::chrono::milliseconds(100);
    std::fprintf(stderr, "\r\033[KIndexing: %zu of %zu files", done, count);
  }

 private:
  const bool shown_;
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

void index_folder(const fs::path& folder) {
  const Clock::time_point start = Clock::now();
  const fs::file_status status = fs::status(folder);
  if (!fs::exists(status)) throw std::runtime_error(folder.string() + " does not exist");
  if (!fs::is_directory(status)) throw std::runtime_error(folder.string() + " is not a folder");

  indexing::RepositoryScan scan(folder);
  const fs::path file = index_of_repository(folder);
  make_index_folder(file.parent_path());
  const std::int64_t symbols = [&] {
    Progress progress;
    return index::Index::open_or_create(file)->replace([&]() -> std::optional<index::Symbol> {
      progress.show(scan.files_done(), scan.file_count());
      return scan.next();
    });
  }();

  std::size_t skipped_files = 0;
  for (const indexing::Skipped& one : scan.skipped()) {
    if (!one.is_folder) ++skipped_files;
    LOGGER.log(logging::Level::info,
               [&] { return "skipped " + printable(one.path) + ": " + one.reason; });
  }
  char seconds[32];
  std::snprintf(seconds, sizeof seconds, "%.1f s",
                std::chrono::duration<double>(Clock::now() - start).count());
  std::string summary = "Indexed " + counted(scan.file_count() - skipped_files, "file") + ", " +
                        counted(static_cast<std::size_t>(symbols), "symbol") + ", in " + seconds +
                        "\n";
  if (!scan.skipped().empty()) summary += skipped_summary(scan.skipped());
  write_output(summary);
}

}  // namespace

void add_index_command(CLI::App& app, ExitCode& exit_code) {
  CLI::App* command =
      app.add_subcommand("index", "Index the symbols of a repository, so that explore finds them");
  const auto folder = std::make_shared<std::string>(".");
  command->add_option("dir", *folder, "The repository; the current folder when absent")
      ->type_name("DIR");
  command->footer(
      "The index is DIR/.velmora/index.db; an earlier one is replaced when the new one is "
      "complete.\n"
      "In a git work tree the files that git does not ignore are read. Languages: C, C++, Python.");
  command->callback([folder, &exit_code] {
    index_folder(*folder);
    exit_code = ExitCode::answered;
  });
}

}  // namespace velmora::host::cli
