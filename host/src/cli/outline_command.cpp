#include <CLI/CLI.hpp>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "browse/lookup.h"
#include "browse/outline.h"
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

using browse::Outline;
using nlohmann::ordered_json;

struct OutlineOptions {
  std::string path = ".";
  AskedIndex location;
  std::size_t limit = 5000;
  bool json = false;
};

ordered_json outline_json(const std::string& place, const Outline& outline) {
  ordered_json symbols = ordered_json::array();
  for (const browse::OutlineEntry& entry : outline.entries) {
    ordered_json object = symbol_json(entry.symbol);
    object["depth"] = entry.depth;
    symbols.push_back(std::move(object));
  }
  return {{"path", place},
          {"files", outline.files},
          {"total", outline.total},
          {"symbols", std::move(symbols)}};
}

std::string answer_text(const Outline& outline) {
  std::string text = browse::outline_text(outline).text;
  const std::size_t left_out = outline.total - outline.entries.size();
  if (left_out > 0) {
    text += "and " + counted(left_out, "symbol") + " more; --limit has them, or name a folder\n";
  }
  return text;
}

// Why there is no outline.
std::string nothing_text(const std::string& path, const std::vector<std::string>& places,
                         index::Index& index) {
  if (places.empty()) return "The index has nothing at " + path;
  if (places.size() > 1) {
    std::string list = "Several files are meant by " + path + ". Name one:";
    for (const std::string& place : places) list += "\n  " + printable_line(place);
    return list;
  }
  std::optional<index::FileRecord> file;
  index.read([&](const index::Catalog& catalog) { file = catalog.file(places.front()); });
  if (!file || file->skipped.empty()) return "The index has no symbol at " + path;
  return printable_line(places.front()) + " is left out: " + printable_line(file->skipped);
}

ExitCode outline(const OutlineOptions& options) {
  const std::filesystem::path file = options.location.file();
  const auto index = options.location.open();
  std::vector<std::string> places;
  index->read([&](const index::Catalog& catalog) {
    places = browse::places(catalog, options.path, viewpoint_of(file));
  });
  const bool is_clear = places.size() == 1;
  const std::string place = is_clear ? places.front() : options.path;
  const Outline found =
      is_clear ? browse::outline_of(*index, place, options.limit) : browse::Outline();
  if (options.json) {
    write_output(json_line(outline_json(place, found)));
  } else {
    show_paged(answer_text(found), output_terminal({}));
  }
  if (found.total > 0) return ExitCode::answered;
  tell(nothing_text(options.path, places, *index));
  return ExitCode::nothing_found;
}

}  // namespace

void add_outline_command(CLI::App& app, ExitCode& exit_code) {
  CLI::App* command =
      app.add_subcommand("outline", "List the symbols of a file or folder in order");
  const auto options = std::make_shared<OutlineOptions>();
  command
      ->add_option("path", options->path,
                   "A file or folder, from here or from the repository's root; here when absent")
      ->type_name("PATH");
  command->add_option("--limit", options->limit, "The most symbols to list")
      ->type_name("N")
      ->check(CLI::PositiveNumber.description(""))
      ->capture_default_str();
  command->add_flag("--json", options->json, "Write the outline as one JSON object");
  options->location.add_to(*command);
  command->footer(
      "Examples:\n"
      "  velmora outline src/config.py\n"
      "  velmora outline config.py             the end of a path does, if one file has it\n"
      "  velmora outline src\n"
      "\n"
      "Symbols that stand in others are indented.\n"
      "Exit status: 0 with symbols, 1 without any, 2 for wrong usage, 3 for any failure.");
  command->callback([options, &exit_code] { exit_code = outline(*options); });
}

}  // namespace velmora::host::cli
