#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "browse/counted_list.h"
#include "cli/embed_folder.h"
#include "cli/embedding_options.h"
#include "cli/end_signals.h"
#include "cli/file_symbols.h"
#include "cli/index_lock.h"
#include "cli/output.h"
#include "cli/refresh_folder.h"
#include "indexing/folder_watch.h"
#include "settings/settings.h"
#include "upkeep/index_place.h"
#include "velmora/host/cli/commands.h"
#include "velmora/host/indexing/languages.h"
#include "velmora/host/indexing/refresh.h"

namespace velmora::host::cli {
namespace {

namespace fs = std::filesystem;

// How much of a list is shown.
constexpr std::size_t FEW = 10;

// "Indexed 3 files, 9 symbols, in 0.1 s: 1 added, 0 changed, 0 removed, 2 unchanged"
std::string changes(const RefreshedFolder& done) {
  const indexing::RefreshReport& report = done.report;
  return done.headline + ": " + std::to_string(report.added) + " added, " +
         std::to_string(report.changed) + " changed, " + std::to_string(report.removed) +
         " removed, " + std::to_string(report.unchanged) + " unchanged\n";
}

// "Other repositories, not indexed with this one: vendor/a, vendor/b"
std::string list_of_repositories(const std::vector<std::string>& folders) {
  std::string list;
  for (const std::string& folder : std::span(folders).first(std::min(folders.size(), FEW))) {
    list += (list.empty() ? "" : ", ") + printable_line(folder);
  }
  if (folders.size() > FEW) list += ", and " + std::to_string(folders.size() - FEW) + " more";
  return "Other repositories, not indexed with this one: " + list + "\n";
}

std::string list_of_ignored(const indexing::Ignored& ignored) {
  if (ignored == indexing::Ignored{}) return "";
  std::string text = "Ignored by .gitignore: ";
  if (ignored.files > 0) text += counted(ignored.files, "file");
  if (ignored.files > 0 && ignored.folders > 0) text += " and ";
  if (ignored.folders > 0) text += counted(ignored.folders, "folder");
  return text + "\n";
}

// All that stands in the tree and is not indexed, a line each for what is told of it:
// "Skipped 3 (2: it is a link, 1: it is binary); --verbose lists them"
std::string left_out(const indexing::RefreshReport& report) {
  std::map<std::string, std::size_t> reasons;
  std::vector<std::string> repositories;
  for (const indexing::Skipped& one : report.skipped) {
    if (one.reason == indexing::OTHER_REPOSITORY) {
      repositories.push_back(one.path);
    } else {
      ++reasons[one.reason];
    }
  }
  std::string list;
  for (const auto& [reason, count] : reasons) {
    list += (list.empty() ? "" : ", ") + std::to_string(count) + ": " + reason;
  }
  std::string text;
  if (!reasons.empty()) {
    text += "Skipped " + std::to_string(report.skipped.size() - repositories.size()) + " (" + list +
            "); --verbose lists them\n";
  }
  if (!report.others.empty()) text += browse::other_kinds(report.others, FEW) + "\n";
  text += list_of_ignored(report.ignored);
  if (!repositories.empty()) text += list_of_repositories(repositories);
  return text;
}

struct IndexOptions {
  std::string folder = ".";
  std::optional<std::uintmax_t> largest_file;
  bool no_wait = false;
  bool watch = false;
  bool retry = false;
  bool rebuild = false;
  bool yes = false;
  std::optional<std::string> shown_file;
  EmbeddingOptions embedding;
  bool embed = false;
  ServerEmbeddingOptions server;
};

RefreshedFolder refresh(const IndexOptions& options, bool rebuild,
                        std::shared_ptr<const embedding::WordModel> model,
                        const std::function<void()>& check) {
  return refresh_folder(options.folder,
                        {.largest_file = options.largest_file,
                         .retry = options.retry,
                         .rebuild = rebuild,
                         .consent = options.yes,
                         .model = std::move(model)},
                        options.no_wait, check);
}

// Brings the index up to date whenever something changes, until the user ends it.
void watch_folder(IndexOptions options, const std::shared_ptr<const embedding::WordModel>& model) {
  // Should it be removed and made anew, the new one is meant, even when it is the current folder.
  const std::string name = std::exchange(options.folder, fs::absolute(options.folder).string());
  constexpr auto QUIET = std::chrono::milliseconds(100);
  constexpr auto LONGEST = std::chrono::seconds(1);
  const EndSignals signals;
  const auto check = [&] { signals.check(); };
  indexing::FolderWatch watch(options.folder, signals.descriptor());
  std::optional<index::WriterLock> lock;
  bool first = true;
  do {
    try {
      // Watched before they are read: what changes in between makes another round.
      watch.watch_folders(settings::source_rules(options.folder).leave_out);
      const RefreshedFolder done = refresh(options, first && options.rebuild, model, check);
      const indexing::RefreshReport& report = done.report;
      if (first || report.added + report.changed + report.removed > 0) {
        write_output(changes(done));
        if (first) write_output(left_out(report));
        if (options.embed) embed_folder(options.folder, options.server, check);
      }
      if (first) write_output("Watching " + printable(name) + "; Ctrl-C ends it\n");
      first = false;
      if (!lock)
        lock.emplace(take_watch_lock(upkeep::index_of_repository(options.folder), false, check));
    } catch (const NobodyReads&) {
      throw;
    } catch (const std::exception& error) {
      if (first) throw;
      tell(error.what());
    }
  } while (watch.wait(QUIET, LONGEST));
  check();
}

void index_folder(const IndexOptions& options) {
  if (options.embed) require_server(options.server);
  const auto model = indexing_model(options.embedding, upkeep::index_of_repository(options.folder));
  if (options.watch) return watch_folder(options, model);
  const RefreshedFolder done = refresh(options, options.rebuild, model, [] {});
  write_output(changes(done) + left_out(done.report));
  if (options.embed) embed_folder(options.folder, options.server);
}

std::string language_list() {
  std::string list;
  for (const std::string_view title : indexing::language_titles()) {
    list.append(list.empty() ? "" : ", ").append(title);
  }
  return list;
}

}  // namespace

void add_index_command(CLI::App& app, ExitCode& exit_code) {
  CLI::App* command =
      app.add_subcommand("index", "Index the symbols of a repository, so that explore finds them");
  const auto options = std::make_shared<IndexOptions>();
  CLI::Option* const folder =
      command->add_option("dir", options->folder, "The repository; the current folder when absent")
          ->type_name("DIR");
  command->option_defaults()->group("What is indexed");
  command
      ->add_option("--max-file-size", options->largest_file,
                   "Leave out files that are larger, from now on; default 2097152 or what the"
                   " settings say")
      ->type_name("BYTES");
  command->add_flag("--retry", options->retry,
                    "Read files again that were left out because parsing them took too much");
  command->add_flag("--rebuild", options->rebuild,
                    "Make the index anew; what velmora embed stored is gone");
  command->add_flag("-y,--yes", options->yes,
                    "Index your home folder, / or over 200,000 files too");
  CLI::Option* const show =
      command
          ->add_option("--show", options->shown_file,
                       "Show what a source file yields: its symbols, or why it has none; nothing is"
                       " indexed")
          ->type_name("FILE")
          ->excludes(folder);
  command->option_defaults()->group("When");
  command
      ->add_flag("--watch", options->watch,
                 "Go on: bring the index up to date whenever files change, until Ctrl-C")
      ->excludes(show);
  command->add_flag("--no-wait", options->no_wait,
                    "Fail at once, with exit status 3, when another velmora is indexing");
  command->option_defaults()->group("Meaning");
  add_embedding_options(*command, options->embedding,
                        "Do not embed new symbols; the next run without it does");
  command->option_defaults()->group("Servers");
  command->add_flag("--embed", options->embed,
                    "Let a server's model embed the symbols too, as velmora embed does");
  add_server_embedding_options(*command, options->server);
  command->footer(
      "Examples:\n"
      "  velmora index\n"
      "  velmora index --watch ~/src/project\n"
      "  velmora index --show src/config.py\n"
      "\n"
      "The index is DIR/.velmora/index.db. Later runs read only what has changed; meanwhile "
      "questions"
      " are answered from its last state. One that is damaged, or that was not made here by you, is"
      " made anew. No server is asked without --embed.\n"
      "Languages: " +
      language_list() +
      ".\n"
      "See also velmora help upkeep.\n"
      "Exit status: 0 when it is up to date, 1 when a file to show has no symbols, 2 for wrong "
      "usage,"
      " 3 for any failure.");
  command->callback([options, &exit_code] {
    if (options->shown_file) {
      exit_code = show_file_symbols(*options->shown_file, options->largest_file);
      return;
    }
    index_folder(*options);
    exit_code = ExitCode::answered;
  });
}

}  // namespace velmora::host::cli
