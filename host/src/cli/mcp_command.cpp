#include <fcntl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "agent/client_config.h"
#include "agent/message_streams.h"
#include "agent/repositories.h"
#include "agent/server.h"
#include "cli/command_facts.h"
#include "cli/embedding_options.h"
#include "cli/index_location.h"
#include "cli/output.h"
#include "cli/refresh_folder.h"
#include "cli/rerank_options.h"
#include "velmora/host/cli/commands.h"
#include "velmora/host/index/index_folder.h"

namespace velmora::host::cli {
namespace {

namespace fs = std::filesystem;

struct McpOptions {
  std::vector<std::string> repositories;
  bool yes = false;
  double wait_seconds = 5;
  std::optional<std::string> print_config;
  EmbeddingOptions embedding;
  RerankOptions rerank;
};

// The repositories that the user names, as every command finds them.
std::vector<fs::path> roots(const McpOptions& options) {
  std::vector<std::optional<std::string>> named(options.repositories.begin(),
                                                options.repositories.end());
  if (named.empty()) named.emplace_back();
  std::vector<fs::path> found;
  for (const auto& folder : named) {
    IndexLocation location;
    location.repository = folder;
    found.push_back(fs::canonical(index::repository_of(location.file())));
  }
  return found;
}

// The standard streams, out of the reach of whatever else reads or writes the standard ones: what
// is written there by mistake goes to standard error.
struct Streams {
  int input = moved(STDIN_FILENO);
  int output = moved(STDOUT_FILENO);

  Streams() {
    const int nothing = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    ::dup2(nothing, STDIN_FILENO);
    ::close(nothing);
    ::dup2(STDERR_FILENO, STDOUT_FILENO);
  }

  static int moved(int stream) {
    const int copy = ::fcntl(stream, F_DUPFD_CLOEXEC, 3);
    if (copy < 0) throw std::system_error(errno, std::generic_category(), "no standard stream");
    return copy;
  }
};

agent::RepositoryOptions repository_options(const McpOptions& options) {
  const EmbeddingOptions embedding = options.embedding;
  // Symbols are embedded whether or not questions are.
  EmbeddingOptions for_symbols = embedding;
  for_symbols.none = false;
  return {
      .model = [for_symbols](const fs::path& file) { return indexing_model(for_symbols, file); },
      .engine = [embedding](const fs::path& file) { return question_engine(embedding, file); },
      .decisions =
          [rerank = options.rerank](const std::shared_ptr<engines::EmbeddingEngine>& engine) {
            return rerank_client(rerank, engine);
          },
      .consent = options.yes};
}

[[noreturn]] void serve(const McpOptions& options) {
  require_whole_server(options.embedding);
  if (::isatty(STDIN_FILENO) == 1) {
    tell(
        "Waiting for the messages of a client, until Ctrl-C or the end of the input. To set one up:"
        " velmora mcp --print-config CLIENT");
  }
  agent::Repositories repositories(roots(options), repository_options(options));
  const Streams streams;
  const auto wait = std::chrono::duration_cast<std::chrono::milliseconds>(
      std::chrono::duration<double>(options.wait_seconds));
  agent::Server server(repositories, streams.input, streams.output, {.longest_wait = wait});
  auto code = ExitCode::answered;
  try {
    server.run();
  } catch (const agent::NobodyListens&) {
    // The client is gone.
  } catch (const std::exception& error) {
    tell(error.what());
    code = ExitCode::failed;
  }
  // At once, whatever the threads are at: what is written to an index is there whole or not at all.
  std::_Exit(static_cast<int>(code));
}

void print_config(const McpOptions& options) {
  const std::vector<fs::path> repositories = roots(options);
  const fs::path program = fs::canonical("/proc/self/exe");
  agent::ClientConfig config;
  try {
    config = agent::client_config(*options.print_config, program, repositories);
  } catch (const std::invalid_argument& unknown) {
    throw CLI::ValidationError(unknown.what());
  }
  tell("This goes into " + config.place);
  write_output(config.text);
}

}  // namespace

void add_mcp_command(CLI::App& app, ExitCode& exit_code) {
  CLI::App* command =
      app.add_subcommand("mcp", "Serve agents that speak the Model Context Protocol");
  const auto options = std::make_shared<McpOptions>();
  command->option_defaults()->group("Which repositories");
  command
      ->add_option("--repo", options->repositories,
                   "Answer about this folder's git work tree, or the folder; may stand several"
                   " times; the current folder's when absent")
      ->type_name("DIR")
      ->allow_extra_args(false);
  command->add_flag("-y,--yes", options->yes,
                    "Index your home folder, / or a folder of more than 200,000 files too");
  command->option_defaults()->group("Answers");
  command
      ->add_option("--wait", options->wait_seconds,
                   "How long a call waits for an index that is being made or brought up to date;"
                   " then it answers with what there is")
      ->type_name("SECONDS")
      ->check(CLI::Range(0.0, 3600.0).description(""))
      ->capture_default_str();
  command->option_defaults()->group("Setup");
  CLI::Option* config =
      command
          ->add_option("--print-config", options->print_config,
                       "Print what CLIENT wants in its configuration, and serve nothing")
          ->type_name("CLIENT");
  std::vector<std::string> clients;
  for (const std::string_view client : agent::known_clients()) clients.emplace_back(client);
  suggest(*config, clients);
  command->option_defaults()->group("Meaning");
  add_embedding_options(*command, options->embedding, "Rank by names and text only");
  command->option_defaults()->group("Servers");
  add_server_options(*command, options->embedding);
  add_rerank_options(*command, options->rerank);
  command->footer(
      "Examples:\n"
      "  velmora mcp                                  what a client starts in a repository\n"
      "  velmora mcp --repo ~/src/app --repo ~/src/lib\n"
      "  velmora mcp --print-config claude-code\n"
      "\n"
      "Messages come on standard input, a line each, and go out on standard output; the end of\n"
      "the input ends the server. Indexes are made and kept up to date in the background. The\n"
      "tools are explore, find, show, outline and status; paths outside of the repositories are\n"
      "refused.\n"
      "Clients for --print-config: " +
      CLI::detail::join(clients, ", ") + ".");
  command->callback([options, &exit_code] {
    if (!options->print_config) serve(*options);
    print_config(*options);
    exit_code = ExitCode::answered;
  });
}

}  // namespace velmora::host::cli
