#include "velmora/host/cli/program.h"

#include <fcntl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <csignal>
#include <exception>
#include <new>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cli/command_facts.h"
#include "cli/end_signals.h"
#include "cli/generate_option.h"
#include "cli/help_text.h"
#include "cli/implied_command.h"
#include "cli/option_settings.h"
#include "cli/output.h"
#include "velmora/host/cli/commands.h"

namespace velmora::host::cli {
namespace {

constexpr std::string_view SHORT_HELP =
    "Velmora finds the code that answers a question.\n"
    "\n"
    "  velmora where are retries delayed    ask about the repository that you are in\n"
    "  velmora index                        index it, or bring its index up to date\n"
    "  velmora explore --help               what a question may say besides\n"
    "  velmora help                         all commands and topics\n";

// A file opened later must not get the number of a closed standard stream: what is printed would
// end up in it. What takes the place of a closed one cannot be used: reading from it, or writing to
// it, fails as it should.
void reserve_standard_streams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    const int mode = stream == STDIN_FILENO ? O_WRONLY : O_RDONLY;
    if (::fcntl(stream, F_GETFD) == -1) static_cast<void>(::open("/dev/null", mode));
  }
}

// What the parser says, and arguments that nothing takes in the order in which they were typed.
std::string fault_text(const CLI::App& app, const CLI::ParseError& error) {
  if (dynamic_cast<const CLI::ExtrasError*>(&error) == nullptr) return error.what();
  std::vector<std::string> left = app.remaining(true);
  std::reverse(left.begin(), left.end());  // as the parser will turn them round
  return CLI::ExtrasError(std::move(left)).what();
}

// What to do about arguments that cannot be understood. The words of a question may begin with the
// name of a command, as in "show me where".
std::string advice(const CLI::App& app, const std::vector<std::string>& typed) {
  std::vector<std::string> command;
  for (auto next = app.get_subcommands(); !next.empty(); next = next.front()->get_subcommands()) {
    command.push_back(next.front()->get_name());
  }
  std::string text;
  const bool words_alone = std::none_of(
      typed.begin(), typed.end(), [](const std::string& word) { return word.starts_with('-'); });
  if (typed.size() > 1 && words_alone && !command.empty() && command.front() != "explore" &&
      command.front() == typed.front()) {
    text = "To ask about the words: velmora explore " + CLI::detail::join(typed, " ") + "\n";
  }
  command.insert(command.begin(), "velmora");
  return text + "Run " + CLI::detail::join(command, " ") + " --help for more information.";
}

ExitCode parse_and_run(CLI::App& app, int argc, const char* const* argv) {
  ExitCode exit_code = ExitCode::answered;
  add_clean_command(app, exit_code);
  add_config_command(app, exit_code);
  add_embed_command(app, exit_code);
  add_explore_command(app, exit_code);
  add_import_command(app, exit_code);
  add_index_command(app, exit_code);
  add_mcp_command(app, exit_code);
  add_outline_command(app, exit_code);
  add_search_command(app, exit_code);
  add_show_command(app, exit_code);
  add_status_command(app, exit_code);
  add_help_command(app, exit_code);  // the last: it knows the others
  add_generate_option(app);
  // Not before: commands would take it over.
  app.footer(
      "velmora QUESTION... is velmora explore QUESTION...: where the first word is no command, all"
      " are the words of a question, and explore's options may stand among them.\n"
      "\n"
      "Examples:\n"
      "  velmora where are retries delayed     ask about the repository that you are in\n"
      "  velmora show parse_config             the source of a definition\n"
      "  velmora outline src                   the symbols of a folder\n"
      "  velmora status                        what is indexed, and what changed since\n"
      "  velmora help output                   answers for other programs");
  std::vector<std::string> arguments(argv + 1, argv + std::max(argc, 1));
  if (arguments.empty()) {
    write_output(SHORT_HELP);
    return ExitCode::answered;
  }
  const std::vector<std::string> typed = arguments;
  try {
    arguments = with_command(app, std::move(arguments));
    std::reverse(arguments.begin(), arguments.end());  // as the parser wants them
    app.parse(std::move(arguments));
    return exit_code;
  } catch (const CLI::Success& answered) {  // --help or --version
    name_variables(app);
    std::ostringstream text;
    app.exit(answered, text, text);
    write_output(text.str());
    return ExitCode::answered;
  } catch (const CLI::ParseError& error) {
    tell(fault_text(app, error) + "\n" + advice(app, typed));
    return ExitCode::wrong_usage;
  }
}

}  // namespace

int run(int argc, const char* const* argv) {
  reserve_standard_streams();
  // A write that nobody reads becomes an error of that write.
  std::signal(SIGPIPE, SIG_IGN);
  // So does one that makes a file larger than the user's limit.
  std::signal(SIGXFSZ, SIG_IGN);
  end_at_signals();

  CLI::App app("Find the code that answers a question", "velmora");
  app.formatter_fn([](const CLI::App* command, const std::string&, CLI::AppFormatMode) {
    return help_text(facts_of(*command));
  });
  app.set_help_flag("-h,--help", "Print this help");
  app.set_version_flag("--version", "velmora " VELMORA_VERSION, "Print the version");
  bool verbose = false;
  app.add_flag("--verbose", verbose, "Log everything to standard error");
  app.parse_complete_callback([&] {
    log_to_standard_error(verbose);
    take_settings(app);
  });
  app.fallthrough();  // these flags may stand behind the command too
  app.require_subcommand(1);
  try {
    return static_cast<int>(parse_and_run(app, argc, argv));
  } catch (const Interrupted& end) {
    return static_cast<int>(end.exit_code());
  } catch (const NobodyReads&) {
    return static_cast<int>(ExitCode::failed);
  } catch (const std::bad_alloc&) {
    tell("There is not enough memory");
    return static_cast<int>(ExitCode::failed);
  } catch (const std::exception& error) {
    tell(error.what());
    return static_cast<int>(ExitCode::failed);
  }
}

}  // namespace velmora::host::cli
