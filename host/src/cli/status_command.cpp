#include <CLI/CLI.hpp>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "browse/status.h"
#include "cli/index_location.h"
#include "cli/output.h"
#include "cli/progress_line.h"
#include "cli/symbol_json.h"
#include "velmora/host/cli/commands.h"
#include "velmora/host/index/index.h"

namespace velmora::host::cli {
namespace {

using browse::Status;
using nlohmann::ordered_json;

struct StatusOptions {
  IndexLocation location;
  std::optional<std::string> folder;
  bool all = false;
  bool json = false;
};

ordered_json counts_json(const std::vector<index::Count>& counts) {
  ordered_json object = ordered_json::object();
  for (const index::Count& count : counts) object[count.name] = count.count;
  return object;
}

ordered_json models_json(const Status& status) {
  ordered_json models = ordered_json::array();
  for (const index::ModelCount& model : status.summary.models) {
    models.push_back({{"name", model.name},
                      {"kind", model.kind},
                      {"vectors", model.vectors},
                      {"without", status.summary.symbols - model.vectors},
                      {"waiting", model.waiting}});
  }
  return models;
}

ordered_json left_out_json(const Status& status) {
  ordered_json list = ordered_json::array();
  for (const indexing::Skipped& one : status.left_out) {
    list.push_back({{"path", one.path}, {"reason", one.reason}, {"folder", one.is_folder}});
  }
  return list;
}

// An object of its own, so that {"x", {...}} of three texts is not taken for one.
ordered_json changes_json(const std::optional<upkeep::TreeChanges>& tree) {
  if (!tree) return nullptr;
  ordered_json object = ordered_json::object();
  object["added"] = tree->added;
  object["changed"] = tree->changed;
  object["removed"] = tree->removed;
  return object;
}

ordered_json status_json(const Status& status) {
  const index::Summary& summary = status.summary;
  ordered_json object = ordered_json::object();
  object["index"] = status.file.string();
  object["repository"] =
      status.root.empty() ? ordered_json(nullptr) : ordered_json(status.root.string());
  object["bytes"] = status.bytes;
  object["written"] = browse::utc_time(summary.written);
  object["version"] = summary.version;
  object["import"] = summary.extraction.empty();
  object["made_here"] = status.made_here;
  object["same_reader"] = status.same_reader;
  object["files"] = summary.files;
  object["symbols"] = summary.symbols;
  object["files_by_language"] = counts_json(summary.file_languages);
  object["symbols_by_language"] = counts_json(summary.symbol_languages);
  object["symbols_by_kind"] = counts_json(summary.symbol_kinds);
  object["models"] = models_json(status);
  object["left_out"] = left_out_json(status);
  object["not_read_by_extension"] =
      status.tree ? ordered_json(status.tree->others) : ordered_json(nullptr);
  object["changes"] = changes_json(status.tree);
  return object;
}

void show_status(const StatusOptions& options) {
  IndexLocation location = options.location;
  if (options.folder) location.repository = options.folder;
  const std::filesystem::path file = location.file();
  const Status status = [&] {
    ProgressLine line("Opening the index");
    const auto index = index::Index::open(file);
    line.begin("Looking for changes");
    return browse::status_of(*index, file);
  }();
  write_output(options.json ? json_line(status_json(status))
                            : browse::status_text(status, options.all).text);
}

}  // namespace

void add_status_command(CLI::App& app, ExitCode& exit_code) {
  CLI::App* command =
      app.add_subcommand("status", "Tell what an index holds, and what changed since");
  const auto options = std::make_shared<StatusOptions>();
  CLI::Option* folder = command
                            ->add_option("dir", options->folder,
                                         "The repository; the one that you are in when absent")
                            ->type_name("DIR");
  command->add_flag("--all", options->all, "Leave nothing out of long lists");
  command->add_flag("--json", options->json, "Write the status as one JSON object");
  command->option_defaults()->group("Which index");
  options->location.add_to(*command);
  folder->excludes("--index")->excludes("--repo");
  command->footer(
      "Examples:\n"
      "  velmora status\n"
      "  velmora status --all ~/src/project\n"
      "  velmora status --json | jq .changes\n"
      "\n"
      "Nothing is written: velmora index brings the index up to date.\n"
      "Exit status: 0 with an index, 2 for wrong usage, 3 without one and for any failure.");
  command->callback([options, &exit_code] {
    show_status(*options);
    exit_code = ExitCode::answered;
  });
}

}  // namespace velmora::host::cli
