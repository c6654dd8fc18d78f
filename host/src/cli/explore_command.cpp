#include <CLI/CLI.hpp>
#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "browse/answer.h"
#include "browse/lookup.h"
#include "cli/answer_json.h"
#include "cli/answer_lines.h"
#include "cli/answer_text.h"
#include "cli/asked_index.h"
#include "cli/batch.h"
#include "cli/embedding_options.h"
#include "cli/input.h"
#include "cli/output.h"
#include "cli/pager.h"
#include "cli/progress_line.h"
#include "cli/rerank_options.h"
#include "cli/terminal.h"
#include "cli/viewpoint.h"
#include "cli/words_option.h"
#include "index/catalog.h"
#include "settings/settings.h"
#include "velmora/host/cli/commands.h"
#include "velmora/host/decision/builtin_decision.h"
#include "velmora/host/index/index.h"
#include "velmora/host/index/index_folder.h"
#include "velmora/utils/path_filter.h"
#include "velmora/workers/retrieval.h"

namespace velmora::host::cli {
namespace {

namespace fs = std::filesystem;
using browse::Answer;
using browse::AnswerDetails;
using browse::Answerer;
using workers::retrieval::HybridRetriever;
using workers::retrieval::QueryEmbedder;
using workers::retrieval::RetrieveOptions;

// At most one; without any the answer is for people.
struct Form {
  bool files = false;
  bool null = false;  // with files
  bool vimgrep = false;
  bool json = false;
  bool json_lines = false;
};

struct ExploreOptions {
  std::optional<std::string> question;
  std::optional<std::string> batch;
  AskedIndex location;
  int limit = 10;
  std::optional<std::string> scope;
  bool include_tests = false;
  bool exclude_tests = false;
  AnswerDetails details;
  Form form;
  TerminalOptions terminal;
  RerankOptions rerank;
  EmbeddingOptions embedding;
};

QueryEmbedder embedder(std::shared_ptr<engines::EmbeddingEngine> engine) {
  return engine ? workers::retrieval::engine_query_embedder(std::move(engine)) : QueryEmbedder();
}

RetrieveOptions retrieve_options(const ExploreOptions& options, bool rerank) {
  RetrieveOptions retrieve{.limit = options.limit, .rerank = rerank};
  if (options.scope) retrieve.scope = *options.scope;
  if (options.include_tests) retrieve.include_tests = true;
  if (options.exclude_tests) retrieve.include_tests = false;
  return retrieve;
}

void write_answer(const Answer& answer, const ExploreOptions& options, const fs::path& root) {
  const Form& form = options.form;
  if (form.json) return write_output(answer_json(answer, options.details));
  if (!form.files && !form.vimgrep && !form.json_lines) {
    const Terminal terminal = output_terminal(options.terminal);
    return show_paged(answer_text(answer, options.details, root, terminal.look), terminal);
  }
  for (const std::string& remark : browse::remarks(answer)) tell(remark);
  if (answer.note) tell(*answer.note);
  if (form.json_lines) return write_output(answer_json_lines(answer, options.details));
  const fs::path from = fs::current_path();
  write_output(form.files ? answer_files(answer, root, from, form.null)
                          : answer_vimgrep(answer, root, from));
}

// What is wrong with the scope, in which nothing was found, and what to say instead; empty where
// nothing is.
std::string scope_remark(const ExploreOptions& options, index::Index& index,
                         const browse::Viewpoint& from) {
  std::string scope = *options.scope;
  while (scope.size() > 1 && scope.ends_with('/')) scope.pop_back();
  std::vector<std::string> places;
  index.read([&](const index::Catalog& catalog) { places = browse::places(catalog, scope, from); });
  if (places.empty()) {
    return "The index has nothing at " + scope +
           ". --scope takes a path from the repository's root";
  }
  const std::string& place = places.front();
  if (place != fs::path(scope).lexically_normal()) {
    return "The index has nothing at " + scope +
           " from the repository's root. Did you mean: --scope " + (place.empty() ? "." : place);
  }
  const bool tests = utils::is_test_path(place) || utils::is_test_path(place + "/");
  return tests && !options.include_tests
             ? "Tests are left out of this answer; --include-tests takes them in"
             : "";
}

ExitCode explore(const ExploreOptions& options) {
  if (options.question.has_value() == options.batch.has_value()) {
    throw CLI::ValidationError("explore needs either a question or --batch");
  }
  require_whole_server(options.embedding);
  require_whole_rerank(options.rerank);
  const fs::path file = options.location.file();
  const fs::path root = index::repository_of(file);
  auto ranking = settings::retrieval_settings(root);
  // First: what is wrong with it matters most.
  const auto index = options.location.open(options.embedding);
  const auto engine = question_engine(options.embedding, file);
  std::vector<decision::JudgedCandidate> decided;
  decision::DecisionObserver observer;
  if (options.details.why) {
    observer = [&](std::vector<decision::JudgedCandidate> candidates) {
      decided = std::move(candidates);
    };
  }
  const auto decisions = rerank_client(options.rerank, engine, std::move(observer));
  HybridRetriever retriever(
      index,
      {.embedder = embedder(engine), .settings = std::move(ranking), .decisions = decisions});
  const RetrieveOptions retrieve = retrieve_options(options, decisions != nullptr);
  AnswerDetails details = options.details;
  if (options.form.vimgrep) details.context = 0;  // the line that it shows
  const Answerer answerer(index, retriever, root, details, &decided);
  if (options.batch) {
    Input input(*options.batch);
    answer_batch(input, answerer, retrieve);
    return ExitCode::answered;
  }
  const Answer answer = [&] {
    const ProgressLine line("Answering");
    return answerer.answer(*options.question, retrieve);
  }();
  write_answer(answer, options, root);
  if (answer.hits.empty() && options.scope) {
    const std::string remark = scope_remark(options, *index, viewpoint_of(file));
    if (!remark.empty()) tell(remark);
  }
  return answer.hits.empty() ? ExitCode::nothing_found : ExitCode::answered;
}

void exclude_one_another(std::initializer_list<CLI::Option*> options) {
  for (CLI::Option* const option : options) {
    for (CLI::Option* const other : options) {
      if (option != other) option->excludes(other);
    }
  }
}

void add_choice(CLI::App& command, ExploreOptions& options) {
  command.option_defaults()->group("Which symbols");
  command.add_option("-n,--limit", options.limit, "The most hits to show")
      ->type_name("N")
      ->check(CLI::Range(1, std::numeric_limits<int>::max()).description(""))
      ->capture_default_str();
  command
      .add_option("--scope", options.scope,
                  "Only in this folder or file, from the repository's root")
      ->type_name("PATH");
  CLI::Option* include =
      command.add_flag("--include-tests", options.include_tests,
                       "Those of tests too; without, the question's words decide");
  CLI::Option* exclude =
      command.add_flag("--exclude-tests", options.exclude_tests, "None of tests");
  exclude_one_another({include, exclude});
}

// What is told of hits and the forms in which it is; a form that has no place for something
// refuses it.
void add_forms(CLI::App& command, ExploreOptions& options) {
  command.option_defaults()->group("What is shown");
  CLI::Option* context = command
                             .add_option("-C,--context", options.details.context,
                                         "N source lines around each definition's first line")
                             ->type_name("N")
                             ->check(CLI::Range(0, 1'000'000).description(""));
  CLI::Option* body =
      command.add_flag("--body", options.details.body, "The whole source of each definition");
  CLI::Option* why = command.add_flag("--why", options.details.why,
                                      "Each hit's rank in each channel, and what moved it");
  options.terminal.add_to(command);

  command.option_defaults()->group("For other programs");
  Form& form = options.form;
  CLI::Option* files = command.add_flag("--files", form.files, "Paths alone, each once");
  command.add_flag("-0,--null", form.null, "End paths with NUL, with --files")->needs(files);
  CLI::Option* vimgrep = command.add_flag("--vimgrep", form.vimgrep,
                                          "path:line:column:text for each hit, for editors");
  CLI::Option* json = command.add_flag("--json", form.json, "One JSON object");
  CLI::Option* json_lines =
      command.add_flag("--jsonl", form.json_lines, "One JSON object for each hit, each on a line");
  CLI::Option* batch =
      command
          .add_option("--batch", options.batch,
                      "Answer the questions of FILE (- for standard input) in JSON")
          ->type_name("FILE");
  exclude_one_another({files, vimgrep, json, json_lines});
  for (CLI::Option* const form_option : {files, vimgrep, json_lines}) form_option->excludes(batch);
  for (CLI::Option* const detail : {context, body, why}) detail->excludes(files)->excludes(vimgrep);
}

}  // namespace

void add_explore_command(CLI::App& app, ExitCode& exit_code) {
  CLI::App* command = app.add_subcommand("explore", "Find the symbols that best answer a question");
  const auto options = std::make_shared<ExploreOptions>();
  add_words(*command, "question", options->question,
            "A sentence, keywords or a name; quotes are not needed")
      ->type_name("QUESTION");
  add_choice(*command, *options);
  add_forms(*command, *options);
  options->location.add_to(*command);
  command->option_defaults()->group("Meaning");
  add_embedding_options(*command, options->embedding, "Rank by names and text only");
  command->option_defaults()->group("Servers");
  add_server_options(*command, options->embedding);
  add_rerank_options(*command, options->rerank);
  command->footer(
      "Examples:\n"
      "  velmora where are retries delayed\n"
      "  velmora parse_config --body\n"
      "  velmora explore --scope src -C 3 index of a page    any first word is a question's here\n"
      "  velmora --files -0 open a connection | xargs -0 wc -l\n"
      "\n"
      "See also velmora help names, output and terminal.\n"
      "Exit status: 0 with hits, 1 without any, 2 for wrong usage, 3 for any failure.");
  command->callback([options, &exit_code] { exit_code = explore(*options); });
}

}  // namespace velmora::host::cli
