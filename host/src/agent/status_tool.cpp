#include <string>

#include "agent/asking.h"
#include "agent/tool.h"
#include "browse/status.h"
#include "index/catalog.h"
#include "text/printable.h"
#include "upkeep/index_place.h"

namespace velmora::host::agent {
namespace {

constexpr std::size_t LONGEST_PATH = 300;

std::string root_of(const Repository& repository) {
  return browse::one_line(repository.root().string(), LONGEST_PATH);
}

// One line about each.
std::string list_text(const Asking& asking, std::size_t most) {
  std::string lines;
  for (const auto& repository : asking.repositories.all()) {
    const upkeep::KeptState state = state_of(*repository, asking);
    lines += root_of(*repository) + ": ";
    if (state.index) {
      index::Summary summary;
      state.index->read([&](const index::Catalog& catalog) { summary = catalog.summary(); });
      lines += text::counted(static_cast<std::size_t>(summary.files), "file") + ", " +
               text::counted(static_cast<std::size_t>(summary.symbols), "symbol");
      if (!state.note.empty()) lines += "; ";
    }
    lines += browse::one_line(state.note, LONGEST_PATH) + "\n";
  }
  return std::string(browse::first_characters(lines, most));
}

std::string status_text(Repository& repository, const Asking& asking, std::size_t most) {
  const upkeep::KeptState state = state_of(repository, asking);
  std::string text = "Repository: " + root_of(repository) + "\n";
  if (!state.note.empty()) text += browse::one_line(state.note, LONGEST_PATH) + ".\n";
  if (!state.index) return std::string(browse::first_characters(text, most));
  const browse::Status status =
      browse::status_of(*state.index, upkeep::index_of_repository(repository.root()));
  text = std::string(browse::first_characters(text, most));
  return text + fitted_lines(
                    most - browse::characters(text),
                    [&](std::size_t room) { return browse::status_text(status, false, room); },
                    [](std::size_t left_out) {
                      return text::counted(left_out, "more line") + ": raise max_characters.\n";
                    });
}

std::string answer(const Arguments& arguments, const Asking& asking) {
  const std::size_t most = arguments.integer("max_characters");
  const auto repo = arguments.optional_text("repo");
  if (!repo && asking.repositories.all().size() > 1) return list_text(asking, most);
  return status_text(asking.repositories.pick(repo), asking, most);
}

}  // namespace

Tool status_tool() {
  return {
      .name = "status",
      .title = "Tell what is indexed",
      .description =
          "Exhaustive: what the index holds: repository, files and definitions by language and "
          "kind, what was"
          " left out and why, what changed since. Use it when an answer surprises you, as when a"
          " file seems to be missing. Not needed before questions: every tool brings the index up"
          " to date by itself, and says so when it is behind.",
      .parameters = {max_characters_parameter(), repo_parameter()},
      .answer = answer};
}

}  // namespace velmora::host::agent
