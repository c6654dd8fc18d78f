#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "cli/index_lock.h"
#include "cli/output.h"
#include "index/removal.h"
#include "upkeep/index_place.h"
#include "velmora/host/cli/commands.h"
#include "velmora/host/index/index_folder.h"

namespace velmora::host::cli {
namespace {

namespace fs = std::filesystem;
using index::Removal;

struct CleanOptions {
  std::string folder = ".";
  bool yes = false;
};

std::string plan(const Removal& removal) {
  constexpr std::size_t FEW = 10;
  std::string text = "In " + printable_line(removal.folder().string()) + ":\n";
  for (const Removal::File& file : removal.files()) {
    text += "  " + file.name + ", " + counted(static_cast<std::size_t>(file.size), "byte") + "\n";
  }
  const std::size_t shown = std::min(removal.others().size(), FEW);
  for (const std::string& other : std::span(removal.others()).first(shown)) {
    text += "  " + printable_line(other) + " is not of velmora and stays\n";
  }
  if (shown < removal.others().size()) {
    text += "  and " + std::to_string(removal.others().size() - shown) + " more that stay\n";
  }
  return text;
}

bool agreed(const CleanOptions& options) {
  if (options.yes) return true;
  if (::isatty(STDIN_FILENO) == 0 || ::isatty(STDOUT_FILENO) == 0) {
    throw CLI::ValidationError("clean asks on a terminal only; --yes removes without asking");
  }
  write_output("Remove these files? [y/N] ");
  std::string answer;
  std::getline(std::cin, answer);
  return answer == "y" || answer == "Y" || answer == "yes";
}

// Where the user may have wanted to be.
std::string nothing_there(const std::string& folder) {
  std::string text = "There is no index in " + folder;
  if (!fs::is_directory(folder)) return text;
  if (const std::optional<fs::path> nearest = upkeep::nearest_index(folder)) {
    text += ". The nearest is removed by: velmora clean " + index::repository_of(*nearest).string();
  }
  return text;
}

ExitCode clean(const CleanOptions& options) {
  // Without the slash that a normal form keeps at its end.
  const fs::path folder = (fs::absolute(options.folder) / ".").lexically_normal().parent_path();
  const std::optional<Removal> removal = Removal::find(folder);
  if (!removal || removal->files().empty()) {
    tell(nothing_there(folder.string()));
    return ExitCode::nothing_found;
  }
  write_output(plan(*removal));
  if (!agreed(options)) {
    write_output("Nothing was removed\n");
    return ExitCode::nothing_found;
  }
  // Whoever writes the index now would go on writing to a file without a name, and whoever watches
  // the files would make it anew.
  const fs::path file = upkeep::index_of_repository(folder);
  const auto watch_lock = take_watch_lock(file, true, [] {});
  const auto embed_lock = take_embed_lock(file, true, [] {});
  const auto lock = take_index_lock(file, true, [] {});
  removal->remove();
  write_output("Removed\n");
  return ExitCode::answered;
}

}  // namespace

void add_clean_command(CLI::App& app, ExitCode& exit_code) {
  CLI::App* command = app.add_subcommand("clean", "Remove the index of a repository");
  const auto options = std::make_shared<CleanOptions>();
  command->add_option("dir", options->folder, "The repository; the current folder when absent")
      ->type_name("DIR");
  command->add_flag("-y,--yes", options->yes, "Remove it without asking");
  command->footer(
      "Examples:\n"
      "  velmora clean                         says what it removes, and asks\n"
      "  velmora clean --yes ~/src/project\n"
      "\n"
      "It lists what it is about to remove: the index in DIR/.velmora, its model and its locks.\n"
      "What else is in the folder stays, and links are not followed. velmora index makes the\n"
      "index anew; vectors that a server made are asked for again.\n"
      "Exit status: 0 when it was removed, 1 when not, 2 for wrong usage, 3 for any failure.");
  command->callback([options, &exit_code] { exit_code = clean(*options); });
}

}  // namespace velmora::host::cli
