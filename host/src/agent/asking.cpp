#include "agent/asking.h"

#include <algorithm>
#include <system_error>
#include <utility>

namespace velmora::host::agent {
namespace {

namespace fs = std::filesystem;
using browse::LimitedText;

// A note has so much room at most, and no more than a third of an answer.
constexpr std::size_t LONGEST_NOTE = 400;
constexpr std::size_t LONGEST_SHOWN_PATH = 200;

std::string shown(std::string_view path) { return browse::one_line(path, LONGEST_SHOWN_PATH); }

}  // namespace

upkeep::KeptState state_of(Repository& repository, const Asking& asking) {
  const auto has_ended = [&] { return asking.has_ended && asking.has_ended(); };
  upkeep::KeptState state = repository.wait(asking.longest_wait, [&](const std::string& note) {
    if (asking.tell && !has_ended()) asking.tell(note);
    return !has_ended();
  });
  if (has_ended()) throw CallEnded();
  return state;
}

std::string with_index(const Arguments& arguments, const Asking& asking,
                       const std::function<std::string(const Ready&, std::size_t)>& answer) {
  const std::size_t most = arguments.integer("max_characters");
  Repository& repository = asking.repositories.pick(arguments.optional_text("repo"));
  const upkeep::KeptState state = state_of(repository, asking);
  std::string text;
  if (!state.note.empty()) {
    text = browse::one_line(state.note, std::min(LONGEST_NOTE, most / 3)) + ".\n";
  }
  if (!state.index) {
    throw ToolError(text + "There is no index of " + shown(repository.root().string()) +
                    (state.is_under_way
                         ? " yet: ask again in a while, and search with other tools meanwhile."
                         : ". Search with other tools, and tell the user: velmora mcp --help says"
                           " how to serve another folder, or to consent to this one."));
  }
  text += answer({.repository = repository, .index = state.index}, most - browse::characters(text));
  return text;
}

bool is_outside(std::string_view path, const fs::path& root) {
  const fs::path named = (root / fs::path(path)).lexically_normal();
  if (!is_within(named, root)) {
    std::error_code unknown;
    return !is_within(fs::weakly_canonical(named, unknown), root);
  }
  return false;
}

std::string place_at(const index::Catalog& catalog, const std::string& path,
                     const browse::Viewpoint& from) {
  const std::vector<std::string> places = browse::places(catalog, path, from);
  if (places.size() == 1) return places.front();
  if (is_outside(path, from.root)) {
    throw ToolError(shown(path) + " is outside of the repository " + shown(from.root.string()) +
                    ": only paths in it can be asked about.");
  }
  if (places.empty()) {
    throw ToolError("The index has nothing at " + shown(path) +
                    ". Paths are relative to the repository's root: outline lists them.");
  }
  std::string list;
  for (const std::string& place : places) list += "\n  " + shown(place);
  throw ToolError("Several files are meant by " + shown(path) + ". Name one:" + list);
}

std::string fitted(std::size_t count, std::size_t most,
                   const std::function<std::string(std::size_t)>& render) {
  const auto fits = [&](const std::string& text) { return browse::characters(text) <= most; };
  std::string best = render(count);
  if (fits(best)) return best;
  best.clear();
  std::size_t least = 0;  // so many fit
  for (std::size_t too_many = count; least + 1 < too_many;) {
    const std::size_t middle = least + (too_many - least) / 2;
    std::string text = render(middle);
    if (fits(text)) {
      least = middle;
      best = std::move(text);
    } else {
      too_many = middle;
    }
  }
  if (best.empty()) best = render(0);
  return std::string(browse::first_characters(best, most));
}

std::string fitted_lines(std::size_t most, const std::function<LimitedText(std::size_t)>& write,
                         const std::function<std::string(std::size_t)>& rest) {
  LimitedText written = write(most);
  if (written.left_out == 0) return std::move(written.text);
  // What is left out grows by the lines that make room, whose number may take a digit more.
  constexpr std::size_t DIGITS = 8;
  const std::size_t room = std::min(most, browse::characters(rest(written.left_out)) + DIGITS);
  written = write(most - room);
  return written.text + std::string(browse::first_characters(rest(written.left_out), room));
}

}  // namespace velmora::host::agent
