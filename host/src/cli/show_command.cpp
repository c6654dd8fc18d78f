#include <CLI/CLI.hpp>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>

#include "browse/definition.h"
#include "browse/lookup.h"
#include "browse/near_names.h"
#include "cli/asked_index.h"
#include "cli/output.h"
#include "cli/pager.h"
#include "cli/symbol_json.h"
#include "cli/terminal.h"
#include "cli/viewpoint.h"
#include "index/catalog.h"
#include "velmora/host/cli/commands.h"
#include "velmora/host/index/index.h"

namespace velmora::host::cli {
namespace {

using browse::Definition;
using nlohmann::ordered_json;

struct ShowOptions {
  std::string what;
  AskedIndex location;
  std::size_t limit = 20;
  bool json = false;
};

ordered_json source_json(const Definition& definition) {
  if (!definition.source) return nullptr;
  return {{"first", definition.source->first},
          {"lines", definition.source->lines},
          {"changed", definition.source->changed}};
}

ordered_json definition_json(const Definition& definition) {
  ordered_json object = symbol_json(definition.symbol);
  ordered_json around = ordered_json::array();
  for (const index::Symbol& outer : definition.around) around.push_back(symbol_json(outer));
  object["in"] = std::move(around);
  ordered_json parts = ordered_json::array();
  for (const index::Symbol& part : definition.parts) parts.push_back(symbol_json(part));
  object["parts"] = std::move(parts);
  object["source"] = source_json(definition);
  return object;
}

std::string answer(const ShowOptions& options, const index::Chosen& found, ordered_json symbols) {
  return json_line(
      {{"query", options.what}, {"total", found.total}, {"symbols", std::move(symbols)}});
}

// Why nothing was found, and what to do.
std::string nothing_text(const std::string& what, index::Index& index,
                         const browse::Viewpoint& from) {
  std::vector<std::string> places;
  const auto line = browse::file_line(what);
  index.read([&](const index::Catalog& catalog) {
    places = browse::places(catalog, line ? line->path : what, from);
  });
  if (places.empty() || places.front().empty()) {
    const std::string near = browse::did_you_mean(what, index);
    return "No symbol has the name " + what + (near.empty() ? near : ". " + near);
  }
  const std::string place = printable_line(places.front());
  return (line ? "No symbol of " + place + " has line " + std::to_string(line->line)
               : what + " is a place, not a symbol") +
         ". For its symbols: velmora outline " + place;
}

// One that fits best is shown whole, of several that fit equally well each in a line.
ExitCode show(const ShowOptions& options) {
  const std::filesystem::path file = options.location.file();
  const auto index = options.location.open();
  const browse::Viewpoint from = viewpoint_of(file);
  index::Chosen found = browse::look_up(*index, options.what, from, options.limit);
  if (found.symbols.empty()) {
    if (options.json) write_output(answer(options, found, ordered_json::array()));
    tell(nothing_text(options.what, *index, from));
    return ExitCode::nothing_found;
  }
  if (found.best == 1) {
    const Definition definition =
        browse::definition_of(*index, from.root, std::move(found.symbols.front()));
    if (options.json) {
      write_output(answer(options, found, ordered_json::array({definition_json(definition)})));
    } else {
      show_paged(browse::definition_text(definition).text, output_terminal({}));
    }
    return ExitCode::answered;
  }
  if (found.symbols.size() > found.best) found.symbols.resize(found.best);
  if (options.json) {
    ordered_json symbols = ordered_json::array();
    for (const index::Symbol& symbol : found.symbols) symbols.push_back(symbol_json(symbol));
    write_output(answer(options, found, std::move(symbols)));
    return ExitCode::answered;
  }
  std::string text = browse::symbols_text(found.symbols).text;
  if (found.best > found.symbols.size()) {
    text +=
        "and " + std::to_string(found.best - found.symbols.size()) + " more; --limit has them\n";
  }
  write_output(text);
  tell(std::to_string(found.best) + " symbols fit. Name one by its PATH:LINE or its number");
  return ExitCode::answered;
}

}  // namespace

void add_show_command(CLI::App& app, ExitCode& exit_code) {
  CLI::App* command = app.add_subcommand("show", "Show the definition of a symbol");
  const auto options = std::make_shared<ShowOptions>();
  command
      ->add_option("symbol", options->what,
                   "A name, qualified or not; a place, for the innermost symbol there; or the"
                   " number that lists and JSON give a symbol")
      ->type_name("NAME|PATH:LINE|ID")
      ->required();
  command->add_option("--limit", options->limit, "The most symbols to list when several fit")
      ->type_name("N")
      ->check(CLI::PositiveNumber.description(""))
      ->capture_default_str();
  command->add_flag("--json", options->json, "Write the answer as one JSON object");
  options->location.add_to(*command);
  command->footer(
      "Examples:\n"
      "  velmora show parse_config\n"
      "  velmora show Server::start            also Server.start, or all of its qualified name\n"
      "  velmora show src/config.py:120        what a compiler or a search names\n"
      "\n"
      "The lines are read from the work tree. When several symbols fit, each is listed with its\n"
      "place and number.\n"
      "Exit status: 0 when a symbol was found, 1 when none, 2 for wrong usage, 3 for any failure.");
  command->callback([options, &exit_code] { exit_code = show(*options); });
}

}  // namespace velmora::host::cli
