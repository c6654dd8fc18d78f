#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdint>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "cli/index_location.h"
#include "cli/index_lock.h"
#include "cli/output.h"
#include "index/removal.h"
#include "velmora/host/cli/commands.h"
#include "velmora/host/index/writer_lock.h"

namespace velmora::host::cli {
namespace {

namespace fs = std::filesystem;
using index::Removal;

struct CleanOptions {
  std::string folder = ".";
  bool yes = false;
};

std::string plan(const Removal& removal) {
  std::string text = "In " + printable_line(removal.folder().string()) + ":\n";
  for (const Removal::File& file : removal.files()) {
    text += "  " + file.name + ", " + counted(static_cast<std::size_t>(file.size), "byte") + "\n";
  }
  for (const std::string& other : removal.others()) {
    text += "  " + printable_line(other) + " is not of velmora and stays\n";
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
  try {
    const fs::path nearest = nearest_index(folder).parent_path().parent_path();
    text += ". The nearest is removed by: velmora clean " + nearest.string();
  } catch (const std::exception&) {
    // There is none above it.
  }
  return text;
}

ExitCode clean(const CleanOptions& options) {
  const fs::path folder = fs::absolute(options.folder).lexically_normal();
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
  // Whoever writes the index now would go on writing to a file without a name.
  const auto lock = take_index_lock(removal->folder() / "index.db", true, [] {});
  const auto embed_lock = index::WriterLock::try_take(removal->folder() / "embed.lock");
  if (!embed_lock) {
    throw std::runtime_error("The symbols are being embedded by " +
                             index::WriterLock::holder(removal->folder() / "embed.lock") +
                             ". Try again when it is done");
  }
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
  command->add_flag("--yes", options->yes, "Do not ask");
  command->footer(
      "Examples:\n"
      "  velmora clean\n"
      "  velmora clean --yes ~/src/project\n"
      "It lists what it is about to remove: the index in DIR/.velmora, its model and its locks.\n"
      "What else is in the folder stays, and links are not followed. velmora index makes the\n"
      "index anew; vectors that a server made are asked for again.\n"
      "Exit status: 0 when it was removed, 1 when not, 2 for wrong usage, 3 for any failure.");
  command->callback([options, &exit_code] { exit_code = clean(*options); });
}

}  // namespace velmora::host::cli
