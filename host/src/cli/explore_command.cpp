#include <CLI/CLI.hpp>
#include <filesystem>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "cli/answer.h"
#include "cli/asked_index.h"
#include "cli/batch.h"
#include "cli/embedding_options.h"
#include "cli/input.h"
#include "cli/output.h"
#include "cli/progress_line.h"
#include "cli/rerank_options.h"
#include "velmora/host/cli/commands.h"
#include "velmora/host/index/index.h"
#include "velmora/workers/retrieval.h"

namespace velmora::host::cli {
namespace {

using workers::retrieval::HybridRetriever;
using workers::retrieval::QueryEmbedder;
using workers::retrieval::RetrievalResult;
using workers::retrieval::RetrieveOptions;

struct ExploreOptions {
  std::optional<std::string> question;
  std::optional<std::string> batch;
  AskedIndex location;
  int limit = 10;
  std::optional<std::string> scope;
  bool include_tests = false;
  bool exclude_tests = false;
  RerankOptions rerank;
  bool json = false;
  EmbeddingOptions embedding;
};

QueryEmbedder embedder(const ExploreOptions& options, const std::filesystem::path& index_file) {
  auto engine = question_engine(options.embedding, index_file);
  return engine ? workers::retrieval::engine_query_embedder(std::move(engine)) : QueryEmbedder();
}

RetrieveOptions retrieve_options(const ExploreOptions& options) {
  RetrieveOptions retrieve{.limit = options.limit, .rerank = !options.rerank.none};
  if (options.scope) retrieve.scope = *options.scope;
  if (options.include_tests) retrieve.include_tests = true;
  if (options.exclude_tests) retrieve.include_tests = false;
  return retrieve;
}

ExitCode explore(const ExploreOptions& options) {
  if (options.question.has_value() == options.batch.has_value()) {
    throw CLI::ValidationError("explore needs either a question or --batch");
  }
  require_whole_server(options.embedding);
  const std::filesystem::path file = options.location.file();
  // First: what is wrong with it matters most.
  const auto index = options.location.open(options.embedding);
  const ProgressLine line("Answering");
  HybridRetriever retriever(
      index, {.embedder = embedder(options, file), .decisions = rerank_client(options.rerank)});
  if (options.batch) {
    Input input(*options.batch);
    answer_batch(input, retriever, retrieve_options(options));
    return ExitCode::answered;
  }
  const RetrievalResult answer = retriever.retrieve(*options.question, retrieve_options(options));
  write_output(options.json ? answer_json(*options.question, answer) : answer_text(answer));
  return answer.hits.empty() ? ExitCode::nothing_found : ExitCode::answered;
}

}  // namespace

void add_explore_command(CLI::App& app, ExitCode& exit_code) {
  CLI::App* command = app.add_subcommand("explore", "Find the symbols that best answer a question");
  const auto options = std::make_shared<ExploreOptions>();
  command
      ->add_option("question", options->question, "A sentence, keywords or a name, as one argument")
      ->type_name("QUESTION");
  options->location.add_to(*command);
  command->add_option("--limit", options->limit, "The most hits to show")
      ->type_name("N")
      ->check(CLI::Range(1, std::numeric_limits<int>::max()).description(""))
      ->capture_default_str();
  command
      ->add_option("--scope", options->scope,
                   "Only symbols in this folder or file, relative to the repository")
      ->type_name("PATH");
  CLI::Option* include_tests =
      command->add_flag("--include-tests", options->include_tests,
                        "Show symbols of tests too; otherwise the question's words decide");
  command->add_flag("--exclude-tests", options->exclude_tests, "Show no symbols of tests")
      ->excludes(include_tests);
  add_rerank_options(*command, options->rerank);
  command->add_flag("--json", options->json, "Write the answer as one JSON object");
  command
      ->add_option("--batch", options->batch,
                   "Answer many questions, one JSON object a line: query, and optionally limit,"
                   " scope, include_tests and rerank. - is standard input")
      ->type_name("FILE");
  add_embedding_options(*command, options->embedding, "Rank by names and text only");
  add_server_options(*command, options->embedding);
  command->footer("Exit status: 0 with hits, 1 without any, 2 for wrong usage, 3 for any failure.");
  command->callback([options, &exit_code] { exit_code = explore(*options); });
}

}  // namespace velmora::host::cli
