#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "agent/asking.h"
#include "agent/symbol_label.h"
#include "agent/tool.h"
#include "browse/limited_text.h"
#include "browse/name_match.h"
#include "browse/near_names.h"
#include "index/catalog.h"
#include "text/printable.h"
#include "velmora/workers/retrieval.h"

namespace velmora::host::agent {
namespace {

using index::Chosen;
using index::Symbol;

// No line of a symbol is shorter.
constexpr std::size_t SHORTEST_LINE = 8;
constexpr std::size_t LONGEST_NAME = 200;

index::Grade grade_of(const std::string& name) {
  if (name.find_first_of("*?") == std::string::npos) {
    return [match = browse::NameMatch(name)](std::string_view own, std::string_view fqn) {
      return match.grade(own, fqn);
    };
  }
  return [pattern = browse::NamePattern(name)](std::string_view own, std::string_view fqn) {
    return pattern.matches(own, fqn) ? std::optional(0) : std::nullopt;
  };
}

std::string symbols_text(const std::vector<Symbol>& symbols, std::size_t shown) {
  std::string text;
  const std::string* path = nullptr;
  for (std::size_t i = 0; i < shown; ++i) {
    const Symbol& symbol = symbols[i];
    if (path == nullptr || *path != symbol.path) text += text::printable_line(symbol.path) + "\n";
    path = &symbol.path;
    text += label(parts_of(symbol)) + "\n";
  }
  return text;
}

// "23 definitions in 7 files, 11 to 20 here. has_more: true, go on with offset 20."
std::string headline(const Chosen& chosen, std::size_t offset, std::size_t shown) {
  std::string text =
      text::counted(chosen.total, "definition") + " in " + text::counted(chosen.files, "file");
  const std::size_t end = offset + shown;
  if (end >= chosen.total && offset == 0) return text + ". has_more: false\n";
  text += shown == 0 ? ", none here"
                     : ", " + std::to_string(offset + 1) + " to " + std::to_string(end) + " here";
  if (end >= chosen.total) return text + ". has_more: false\n";
  return text + ". has_more: true, go on with offset " + std::to_string(end) + "\n";
}

struct Wanted {
  std::string name;
  std::vector<std::string> kinds;
  std::optional<std::string> folder;
  std::size_t offset = 0;
};

// Why nothing was found, and what is near to it. `everywhere` counts what the kinds and the folder
// leave out.
std::string nothing_text(const Wanted& wanted, std::size_t everywhere, index::Index& index) {
  std::string text =
      "0 definitions of " + browse::one_line(wanted.name, LONGEST_NAME) + ". has_more: false\n";
  if (everywhere > 0) {
    return text + text::counted(everywhere, "definition") +
           " of other kinds or in other folders: leave out kinds or folder.\n";
  }
  const std::string near = browse::did_you_mean(wanted.name, index);
  if (!near.empty()) text += near + "\n";
  return text +
         "A part of a name needs *, as *part*. What is not defined in this repository"
         " can be grepped only; explore finds by meaning.\n";
}

std::string answer_text(const Ready& ready, const Wanted& wanted, std::size_t most) {
  index::Choice choice{.grade = grade_of(wanted.name),
                       .kinds = wanted.kinds,
                       .offset = wanted.offset,
                       .limit = most / SHORTEST_LINE};
  Chosen chosen;
  std::size_t everywhere = 0;
  ready.index->read([&](const index::Catalog& catalog) {
    if (wanted.folder) choice.place = place_at(catalog, *wanted.folder, ready.viewpoint());
    chosen = catalog.choose(choice);
    if (chosen.total > 0 || (choice.place.empty() && choice.kinds.empty())) return;
    everywhere = catalog.choose({.grade = choice.grade, .limit = 0}).total;
  });
  if (chosen.total == 0) {
    return std::string(
        browse::first_characters(nothing_text(wanted, everywhere, *ready.index), most));
  }
  return fitted(chosen.symbols.size(), most, [&](std::size_t shown) {
    return headline(chosen, wanted.offset, shown) + symbols_text(chosen.symbols, shown);
  });
}

std::string find(const Arguments& arguments, const Asking& asking) {
  const Wanted wanted{.name = arguments.text("name"),
                      .kinds = arguments.texts("kinds"),
                      .folder = arguments.optional_text("folder"),
                      .offset = arguments.integer("offset")};
  return with_index(arguments, asking, [&](const Ready& ready, std::size_t most) {
    return answer_text(ready, wanted, most);
  });
}

}  // namespace

Tool find_tool() {
  return {
      .name = "find",
      .title = "Find all definitions of a name",
      .description =
          "Exhaustive: every definition with this name, or whose name matches a pattern, with the"
          " count and has_more, so that you know when you have seen all. Use it when you know a"
          " name or a part of it. Finds definitions, not uses: for uses, strings and comments"
          " grep; for what you cannot name, explore.",
      .parameters =
          {{.name = "name",
            .description =
                "A name (parse_config), qualified or not (Store.size, Store::size), or a pattern of"
                " a whole name in any case: * for any characters, ? for one (*Config, test_*).",
            .required = true},
           {.name = "kinds",
            .type = Parameter::Type::texts,
            .description = "Only these kinds of definitions.",
            .choices = workers::retrieval::RETRIEVABLE_KINDS.words()},
           {.name = "folder",
            .description = "Only in this folder or file, relative to the repository's root."},
           {.name = "offset",
            .type = Parameter::Type::integer,
            .description = "How many to pass over: the answer before says the next one.",
            .least = 0,
            .most = 1'000'000'000,
            .standard = 0},
           max_characters_parameter(),
           repo_parameter()},
      .answer = find};
}

}  // namespace velmora::host::agent
