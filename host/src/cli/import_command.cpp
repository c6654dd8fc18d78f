#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "cli/input.h"
#include "cli/json_fields.h"
#include "cli/output.h"
#include "cli/progress_line.h"
#include "cli/symbol_row.h"
#include "velmora/host/cli/commands.h"
#include "velmora/host/index/index.h"

namespace velmora::host::cli {
namespace {

struct ImportOptions {
  std::string index;
  std::string rows = "-";
  bool half_precision = false;
  bool allow_empty = false;
};

// Sees to it that the vectors of a model have one length. A search compares them with each other.
class VectorLengths {
 public:
  // Throws InputError for a symbol with another one.
  void check(const index::Symbol& symbol) {
    for (const index::SymbolEmbedding& embedding : symbol.embeddings) {
      const std::size_t length = embedding.values.size();
      const auto known = lengths_.try_emplace(embedding.model, length).first->second;
      if (length == known) continue;
      throw InputError("the vector of model " + embedding.model + " has " +
                       counted(length, "number") + ", where the earlier ones have " +
                       std::to_string(known));
    }
  }

 private:
  std::map<std::string, std::size_t> lengths_;  // by model
};

void import_rows(const ImportOptions& options) {
  Input input(options.rows);
  const auto index = index::Index::open_or_create(options.index);
  VectorLengths lengths;
  std::int64_t count = 0;
  const auto at_line = [&](const std::exception& error) {
    return std::runtime_error("line " + std::to_string(input.line_number()) + ": " + error.what());
  };
  ProgressLine line("Importing");
  std::size_t rows = 0;
  const std::optional<std::uintmax_t> size = input.size();
  const auto progress_text = [&](double seconds) {
    std::string text = counted(rows, "row");
    if (!size) return text;
    constexpr double MEBIBYTE = 1 << 20;
    const auto done = static_cast<double>(input.bytes_read()) / MEBIBYTE;
    const auto all = std::max(done, static_cast<double>(*size) / MEBIBYTE);
    std::array<char, 64> sizes{};
    std::snprintf(sizes.data(), sizes.size(), ", %.0f of %.0f MiB, ", done, all);
    return text + sizes.data() + rate_text(done, all - done, "MiB", seconds);
  };
  const auto next = [&]() -> std::optional<index::Symbol> {
    const std::optional<std::string> row = input.next_line();
    if (!row && rows == 0 && !options.allow_empty) {
      throw std::runtime_error(
          "The input has no row. Use --allow-empty if the index is to have none");
    }
    if (!row) return std::nullopt;
    ++rows;
    index::Symbol symbol = parse_symbol_row(*row);
    lengths.check(symbol);
    line.show(progress_text);
    return symbol;
  };
  try {
    count = index->replace(
        next, options.half_precision ? index::VectorKind::float16 : index::VectorKind::float32);
  } catch (const InputError& error) {
    throw at_line(error);
  } catch (const std::invalid_argument& error) {
    throw at_line(error);  // the index refused the symbol of the line read last
  }
  write_output("Imported " + std::to_string(count) + (count == 1 ? " symbol" : " symbols") +
               " into " + printable_line(options.index) + "\n");
}

}  // namespace

void add_import_command(CLI::App& app, ExitCode& exit_code) {
  CLI::App* command = app.add_subcommand(
      "import", "Replace the content of an index by rows of symbols, all or nothing");
  const auto options = std::make_shared<ImportOptions>();
  command->add_option("--index", options->index, "The index; made when it is missing")
      ->type_name("FILE")
      ->required();
  command
      ->add_option("rows", options->rows,
                   "The rows, one JSON object a line; standard input when it is - or absent")
      ->type_name("FILE");
  command->add_flag("--half-precision", options->half_precision,
                    "Keep vectors in two bytes a number, not in four: half the size and a faster"
                    " search, for an error of about 0.0001 in the cosine");
  command->add_flag("--allow-empty", options->allow_empty,
                    "Take an input without any row, which empties the index");
  command->footer(
      "Examples:\n"
      "  velmora import --index project.db rows.jsonl\n"
      "  zcat rows.jsonl.gz | velmora import --index project.db\n"
      "  velmora explore --index project.db parse config\n"
      "\n"
      "A row has fqn, name, kind, language, path, start_line and end_line, and optionally id,\n"
      "signature, docstring, words (a list, of the body) and embeddings, a list of {\"model\",\n"
      "\"values\"}. A row without id gets the largest id so far plus one. Blank lines are\n"
      "skipped, unknown fields are errors.\n"
      "An input that cannot be read to its end leaves the index as it was.\n"
      "Exit status: 0 when all rows were taken, 2 for wrong usage, 3 for any failure.");
  command->callback([options, &exit_code] {
    import_rows(*options);
    exit_code = ExitCode::answered;
  });
}

}  // namespace velmora::host::cli
