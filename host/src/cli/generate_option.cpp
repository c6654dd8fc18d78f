#include "cli/generate_option.h"

#include <CLI/CLI.hpp>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "cli/command_facts.h"
#include "cli/completions.h"
#include "cli/man_page.h"
#include "cli/option_settings.h"
#include "cli/output.h"

namespace velmora::host::cli {
namespace {

namespace fs = std::filesystem;

using File = std::pair<std::string, std::string>;  // a name and what is in it

// Today, or the day of the sources where a build says it by SOURCE_DATE_EPOCH, so that it makes the
// same pages each time.
std::string date() {
  std::time_t seconds = std::time(nullptr);
  if (const char* const epoch = std::getenv("SOURCE_DATE_EPOCH")) {
    const std::string_view digits = epoch;
    std::from_chars(digits.data(), digits.data() + digits.size(), seconds);
  }
  std::tm day{};
  std::array<char, 32> text{};
  ::gmtime_r(&seconds, &day);
  return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%d", &day)};
}

void add_man_pages(const CommandFacts& command, const CommandFacts& program,
                   const std::string& version, std::vector<File>& files) {
  files.emplace_back(command.name("-") + ".1", man_page(command, program, date(), version));
  for (const CommandFacts& below : command.commands) {
    add_man_pages(below, program, version, files);
  }
}

// What an installation has of this form; the first is the program's.
std::vector<File> files_of(const CLI::App& app, const std::string& form) {
  const CommandFacts program = facts_of(app);
  if (form == "bash") return {{"velmora", bash_completion(program)}};
  if (form == "zsh") return {{"_velmora", zsh_completion(program)}};
  if (form == "fish") return {{"velmora.fish", fish_completion(program)}};
  std::vector<File> files;
  add_man_pages(program, program, app.version(), files);
  return files;
}

void write_file(const fs::path& file, const std::string& content) {
  std::ofstream stream(file, std::ios::binary | std::ios::trunc);
  stream << content;
  stream.close();
  if (stream) return;
  throw std::runtime_error(file.string() +
                           " cannot be written: " + std::generic_category().message(errno));
}

// The page of the command that --generate stands with: that of the program where there is none.
std::string page_name(const CLI::App& app) {
  std::string name = app.get_name();
  for (const CLI::App* command = &app; !command->get_subcommands().empty();) {
    command = command->get_subcommands().front();
    name += "-" + command->get_name();
  }
  return name + ".1";
}

void generate(const CLI::App& app, const std::string& form, const std::string& folder) {
  const std::vector<File> files = files_of(app, form);
  if (folder.empty()) {
    const std::string wanted = form == "man" ? page_name(app) : files.front().first;
    for (const auto& [name, content] : files) {
      if (name == wanted) write_output(content);
    }
    return;
  }
  fs::create_directories(folder);
  for (const auto& [name, content] : files) write_file(fs::path(folder) / name, content);
}

}  // namespace

void add_generate_option(CLI::App& app) {
  app.option_defaults()->group("For packagers");
  const auto run = [&app](const std::string& form) {
    name_variables(app);
    const CLI::Option* const into = app.get_option("--into");
    generate(app, form, into->count() == 0 ? std::string() : into->results().front());
    throw CLI::Success();
  };
  CLI::Option* form =
      app.add_option_function<std::string>(
             "--generate", run,
             "Print a shell's completion, or the man page of the program or of the command named"
             " too")
          ->type_name("FORM")
          ->check(CLI::IsMember({"man", "bash", "zsh", "fish"}));
  const auto kept = [](const CLI::results_t&) { return true; };  // by the option itself
  app.add_option("--into", kept, "Write it into this folder instead, the pages of all commands")
      ->type_name("DIR")
      ->needs(form);
  app.option_defaults()->group("Options");
}

}  // namespace velmora::host::cli
