#include "cli/file_symbols.h"

#include <string>
#include <string_view>

#include "cli/output.h"
#include "cli/pager.h"
#include "cli/terminal.h"
#include "indexing/scan_file.h"
#include "settings/settings.h"
#include "upkeep/index_place.h"

namespace velmora::host::cli {
namespace {

namespace fs = std::filesystem;

std::string symbol_text(const index::Symbol& symbol) {
  std::string text = std::to_string(symbol.start_line);
  if (symbol.end_line != symbol.start_line) text += "-" + std::to_string(symbol.end_line);
  text += "  " + symbol.kind + " " + printable_line(symbol.fqn) + "\n";
  if (symbol.signature) text += "    " + printable_line(*symbol.signature) + "\n";
  if (symbol.docstring) {
    const std::string_view documentation = *symbol.docstring;
    text += "    " + printable_line(documentation.substr(0, documentation.find('\n'))) + "\n";
  }
  return text;
}

}  // namespace

ExitCode show_file_symbols(const fs::path& file, std::optional<std::uintmax_t> largest_file) {
  const fs::path folder = fs::canonical(fs::absolute(file).parent_path());
  const fs::path root = upkeep::folder_to_index(folder);
  const std::string path = (folder / file.filename()).lexically_relative(root);
  indexing::SourceRules rules = settings::source_rules(root);
  rules.largest_file = largest_file.value_or(rules.largest_file);
  const indexing::ScannedFile scanned = indexing::scan_file(root, path, rules);
  if (!scanned.file.skipped.empty()) {
    tell(printable_line(path) + " yields nothing: " + scanned.file.skipped);
    return ExitCode::nothing_found;
  }
  std::string text = printable_line(path) + ": " + scanned.file.language + ", " +
                     counted(scanned.symbols.size(), "symbol") + "\n";
  for (const index::Symbol& symbol : scanned.symbols) text += symbol_text(symbol);
  show_paged(text, output_terminal({}));
  return scanned.symbols.empty() ? ExitCode::nothing_found : ExitCode::answered;
}

}  // namespace velmora::host::cli
