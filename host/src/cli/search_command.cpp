#include <CLI/CLI.hpp>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cli/asked_index.h"
#include "cli/embedding_options.h"
#include "cli/output.h"
#include "cli/progress_line.h"
#include "cli/words_option.h"
#include "velmora/host/cli/commands.h"
#include "velmora/host/index/index.h"

namespace velmora::host::cli {
namespace {

using nlohmann::ordered_json;

struct SearchOptions {
  std::optional<std::string> query;
  AskedIndex location;
  int limit = 10;
  bool json = false;
  EmbeddingOptions embedding;
};

std::string text_line(const storage::SymbolRow& symbol, double similarity) {
  std::array<char, 16> number{};
  std::snprintf(number.data(), number.size(), "%.3f", similarity);
  return printable_line(std::string(number.data()) + "  " + std::string(symbol.path) + ":" +
                        std::to_string(symbol.start_line) + "  " + std::string(symbol.kind) + " " +
                        std::string(symbol.fqn)) +
         "\n";
}

ordered_json json_hit(const storage::SymbolRow& symbol, double similarity) {
  return {{"id", symbol.id},
          {"fqn", symbol.fqn},
          {"kind", symbol.kind},
          {"path", symbol.path},
          {"start_line", symbol.start_line},
          {"similarity", similarity}};
}

ExitCode search_semantic(const SearchOptions& options) {
  require_whole_server(options.embedding);
  const std::filesystem::path file = options.location.file();
  const auto index = options.location.open(options.embedding);
  const ProgressLine line("Answering");
  const auto engine = question_engine(options.embedding, file);
  const auto model = engine->wait_ready(std::chrono::milliseconds::zero());
  const auto vectors = model->embed(std::array{std::string_view(*options.query)});
  const auto pairs = index->nearest_symbol_ids(vectors.at(0), model->name(),
                                               {.top_k = std::int64_t{options.limit}});
  if (pairs.empty()) {
    throw std::runtime_error("The index has no symbol embeddings of " + std::string(model->name()));
  }
  std::string text;
  ordered_json hits = ordered_json::array();
  for (const storage::NearestPair& pair : pairs) {
    index->read_symbol(pair.id, [&](const storage::SymbolRow& symbol) {
      options.json ? hits.push_back(json_hit(symbol, pair.similarity))
                   : static_cast<void>(text += text_line(symbol, pair.similarity));
    });
  }
  if (options.json) {
    const ordered_json answer = {
        {"query", *options.query}, {"model", model->name()}, {"hits", std::move(hits)}};
    text = answer.dump(-1, ' ', false, ordered_json::error_handler_t::replace) + "\n";
  }
  write_output(text);
  return ExitCode::answered;
}

}  // namespace

void add_search_command(CLI::App& app, ExitCode& exit_code) {
  CLI::App* command = app.add_subcommand("search", "Ask one channel of the ranking alone");
  command->require_subcommand(1);
  CLI::App* semantic = command->add_subcommand(
      "semantic", "List the symbols that are nearest to a question in meaning");
  const auto options = std::make_shared<SearchOptions>();
  add_words(*semantic, "query", options->query, "A sentence, keywords or a name")
      ->type_name("QUERY")
      ->required();
  semantic->add_option("--limit", options->limit, "The most symbols to show")
      ->type_name("N")
      ->check(CLI::Range(1, std::numeric_limits<int>::max()).description(""))
      ->capture_default_str();
  semantic->add_flag("--json", options->json, "Write the answer as one JSON object");
  options->location.add_to(*semantic);
  semantic->option_defaults()->group("Meaning");
  add_model_option(*semantic, options->embedding);
  semantic->option_defaults()->group("Servers");
  add_server_options(*semantic, options->embedding);
  semantic->footer(
      "Examples:\n"
      "  velmora search semantic where are retries delayed\n"
      "  velmora search semantic --limit 50 --json open a connection\n"
      "\n"
      "Each line has the cosine of a symbol's vector and the question's, at most 1, and the"
      " symbol's place. velmora explore weighs names and text too; this tells what meaning finds by"
      " itself.\n"
      "Exit status: 0 with symbols, 2 for wrong usage, 3 for any failure.");
  command->footer(
      "Examples:\n"
      "  velmora search semantic where are retries delayed");
  semantic->callback([options, &exit_code] { exit_code = search_semantic(*options); });
}

}  // namespace velmora::host::cli
