#include <CLI/CLI.hpp>
#include <memory>
#include <string>

#include "cli/embed_folder.h"
#include "cli/embedding_options.h"
#include "velmora/host/cli/commands.h"

namespace velmora::host::cli {
namespace {

struct EmbedOptions {
  std::string folder = ".";
  ServerEmbeddingOptions server;
};

}  // namespace

void add_embed_command(CLI::App& app, ExitCode& exit_code) {
  CLI::App* command =
      app.add_subcommand("embed", "Let a server's model embed the symbols of an index");
  const auto options = std::make_shared<EmbedOptions>();
  command->add_option("dir", options->folder, "The repository; the current folder when absent")
      ->type_name("DIR");
  command->option_defaults()->group("Servers");
  add_server_embedding_options(*command, options->server);
  command->add_flag("--anew", options->server.anew,
                    "Embed everything again: forget this model's vectors once the server answers");
  command->footer(
      "Examples:\n"
      "  velmora embed --embeddings-url http://127.0.0.1:8080/v1 --embeddings-model NAME\n"
      "  velmora embed ~/src/project           with VELMORA_EMBEDDINGS_URL and _MODEL set\n"
      "\n"
      "Embeds what has no vector of the model yet: of each symbol its kind, name, signature, path\n"
      "and docstring. Each answer is stored as it comes, so Ctrl-C loses nothing and the same\n"
      "command goes on. A text is embedded once, and its vector is kept when the symbol is gone,\n"
      "in case it comes back. An overloaded server is asked again, as late as it wants.\n"
      "See also velmora help servers.\n"
      "Exit status: 0 when all is embedded, 2 for wrong usage, 3 for any failure.");
  command->callback([options, &exit_code] {
    require_server(options->server);
    embed_folder(options->folder, options->server);
    exit_code = ExitCode::answered;
  });
}

}  // namespace velmora::host::cli
