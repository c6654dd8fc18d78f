#include "cli/answer_lines.h"

#include <unordered_set>

#include "cli/output.h"
#include "text/layout.h"

namespace velmora::host::cli {
namespace {

namespace fs = std::filesystem;
using browse::Answer;
using browse::AnsweredHit;

std::string reached(const fs::path& root, const fs::path& from, const std::string& path) {
  return root.empty() ? path : (root / path).lexically_proximate(from).native();
}

// As many columns of text as a list of places has a use for.
constexpr std::size_t MOST_COLUMNS = 200;

}  // namespace

std::string answer_files(const Answer& answer, const fs::path& root, const fs::path& from,
                         bool null) {
  std::string text;
  std::unordered_set<std::string_view> seen;
  for (const AnsweredHit& answered : answer.hits) {
    const std::string& path = answered.hit.symbol.path;
    if (!seen.insert(path).second) continue;
    const std::string file = reached(root, from, path);
    text += null ? file + '\0' : printable_line(file) + "\n";
  }
  return text;
}

std::string answer_vimgrep(const Answer& answer, const fs::path& root, const fs::path& from) {
  std::string lines;
  for (const AnsweredHit& answered : answer.hits) {
    const auto& symbol = answered.hit.symbol;
    std::string text = symbol.signature.value_or(symbol.kind + " " + symbol.fqn);
    std::size_t column = 1;
    if (answered.source && !answered.source->changed && !answered.source->lines.empty()) {
      text = answered.source->lines.front();
      const std::size_t name = text.find(symbol.name);
      if (name != std::string::npos) column = name + 1;
    }
    lines += printable_line(reached(root, from, symbol.path)) + ":" +
             std::to_string(symbol.start_line) + ":" + std::to_string(column) + ":" +
             text::cut_to(text::on_one_line(text), MOST_COLUMNS) + "\n";
  }
  return lines;
}

}  // namespace velmora::host::cli
