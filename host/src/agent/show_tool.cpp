#include <algorithm>
#include <span>
#include <string>
#include <vector>

#include "agent/asking.h"
#include "agent/tool.h"
#include "browse/definition.h"
#include "browse/lookup.h"
#include "browse/near_names.h"
#include "index/catalog.h"
#include "text/printable.h"

namespace velmora::host::agent {
namespace {

using browse::Definition;
using index::Chosen;
using index::Symbol;

constexpr std::size_t MOST_CANDIDATES = 1000;
// So many are shown whole when all of them fit well.
constexpr std::size_t FEW = 4;
constexpr std::size_t LONGEST_NAME = 200;

ToolError nothing_found(const std::string& what, const Ready& ready) {
  const std::string shown = browse::one_line(what, LONGEST_NAME);
  const auto line = browse::file_line(what);
  const std::string path = line ? line->path : what;
  if (is_outside(path, ready.repository.root())) {
    return ToolError(shown + " is outside of the repository " +
                     browse::one_line(ready.repository.root().string(), LONGEST_NAME) +
                     ": only what is in it can be shown.");
  }
  std::vector<std::string> places;
  ready.index->read([&](const index::Catalog& catalog) {
    places = browse::places(catalog, path, ready.viewpoint());
  });
  if (!places.empty() && !places.front().empty()) {
    const std::string place = browse::one_line(places.front(), LONGEST_NAME);
    return ToolError((line ? "No definition of " + place + " has line " + std::to_string(line->line)
                           : shown + " is a file or folder, not a definition") +
                     ". outline lists the definitions of " + place + ".");
  }
  std::string text = "There is no definition " + shown + ".";
  const std::string near = browse::did_you_mean(what, *ready.index);
  if (!near.empty()) text += " " + near;
  return ToolError(text + " find takes a part of a name as *part*; explore finds by meaning.");
}

std::string whole_text(const Definition& definition, std::size_t most) {
  const Symbol& symbol = definition.symbol;
  return fitted_lines(
      most, [&](std::size_t room) { return browse::definition_text(definition, room); },
      [&](std::size_t left_out) {
        const auto first = symbol.end_line - static_cast<std::int64_t>(left_out) + 1;
        return text::counted(left_out, "more line") + ": raise max_characters, or read " +
               browse::one_line(symbol.path, LONGEST_NAME) + " from line " +
               std::to_string(std::max(first, symbol.start_line)) + ".\n";
      });
}

std::string candidates_text(const Chosen& found, std::size_t most) {
  return fitted(found.symbols.size(), most, [&](std::size_t shown) {
    std::string text = text::counted(found.best, "definition") +
                       " fit: name one by its path:line or @number.\n" +
                       browse::symbols_text(std::span(found.symbols).first(shown)).text;
    if (shown < found.best) {
      text += std::to_string(found.best - shown) +
              " more left out: qualify the name, or raise max_characters.\n";
    }
    return text;
  });
}

std::string show(const Arguments& arguments, const Asking& asking) {
  const std::string what = arguments.text("what");
  return with_index(arguments, asking, [&](const Ready& ready, std::size_t most) {
    Chosen found = browse::look_up(*ready.index, what, ready.viewpoint(), MOST_CANDIDATES);
    if (found.symbols.empty()) throw nothing_found(what, ready);
    if (found.symbols.size() > found.best) found.symbols.resize(found.best);
    const auto shown = [&](const Symbol& symbol, std::size_t room) {
      return whole_text(browse::definition_of(*ready.index, ready.repository.root(), symbol), room);
    };
    if (found.best == 1) return shown(found.symbols.front(), most);
    if (found.best <= FEW) {
      std::string all;
      for (const Symbol& symbol : found.symbols) all += shown(symbol, browse::EVERY_CHARACTER);
      if (browse::characters(all) <= most) return all;
    }
    return candidates_text(found, most);
  });
}

}  // namespace

Tool show_tool() {
  return {
      .name = "show",
      .title = "Show a definition",
      .description =
          "Exhaustive: the whole source of one definition, as the work tree has it now, with line"
          " numbers, what it stands in and its docstring. Use it in place of reading a whole file,"
          " once explore, find, grep or a stack trace has named the definition. When several fit,"
          " it lists them."
          " Not for text outside of definitions: read the file.",
      .parameters = {{.name = "what",
                      .description =
                          "A name, qualified or not (Store.size); path:line, which means the"
                          " innermost definition there; or @number, as lists have it.",
                      .required = true},
                     max_characters_parameter(),
                     repo_parameter()},
      .answer = show};
}

}  // namespace velmora::host::agent
