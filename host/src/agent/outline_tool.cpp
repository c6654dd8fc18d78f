#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "agent/asking.h"
#include "agent/tool.h"
#include "browse/limited_text.h"
#include "browse/outline.h"
#include "index/catalog.h"
#include "text/printable.h"

namespace velmora::host::agent {
namespace {

using browse::Outline;
using index::Count;

// More symbols than so many are not listed one by one: no answer has room for them.
constexpr std::int64_t MOST_SYMBOLS = 5000;
constexpr std::size_t LONGEST_PATH = 300;

std::string shown(const std::string& path) {
  return path.empty() ? "The repository" : browse::one_line(path, LONGEST_PATH);
}

// The symbols that stand in no more than `depth` others.
Outline to_depth(const Outline& outline, std::size_t depth) {
  Outline cut{.total = outline.total, .files = outline.files};
  for (const browse::OutlineEntry& entry : outline.entries) {
    if (entry.depth <= depth) cut.entries.push_back(entry);
  }
  return cut;
}

// All symbols, or else those of as many levels as fit; nothing when not even the outermost do.
std::optional<std::string> symbols_text(const Outline& outline, std::size_t most) {
  if (outline.entries.size() < outline.total) return std::nullopt;
  std::string all = browse::outline_text(outline).text;
  if (browse::characters(all) <= most) return all;
  std::size_t depth = 0;
  for (const browse::OutlineEntry& entry : outline.entries) depth = std::max(depth, entry.depth);
  while (depth > 0) {
    const Outline cut = to_depth(outline, --depth);
    std::string text = text::counted(outline.total - cut.entries.size(), "nested definition") +
                       " left out: raise max_characters, or outline a part.\n" +
                       browse::outline_text(cut).text;
    if (browse::characters(text) <= most) return text;
  }
  return std::nullopt;
}

// The path cut after so many folders below `place`; whole when it has fewer.
std::string cut_path(const std::string& path, std::size_t below, std::size_t folders) {
  std::size_t at = below;
  for (std::size_t i = 0; i < folders; ++i) {
    const std::size_t slash = path.find('/', at);
    if (slash == std::string::npos) return path;
    at = slash + 1;
  }
  return path.substr(0, at);
}

struct Group {
  std::size_t files = 0;
  std::int64_t symbols = 0;
};

// The files, those below so many folders counted together: a path with a slash at its end.
std::map<std::string, Group> groups(const std::vector<Count>& files, std::size_t below,
                                    std::size_t folders) {
  std::map<std::string, Group> found;
  for (const Count& file : files) {
    Group& group = found[cut_path(file.name, below, folders)];
    ++group.files;
    group.symbols += file.count;
  }
  return found;
}

std::string line_of(const std::string& path, const Group& group) {
  std::string line = browse::one_line(path, LONGEST_PATH) + "  " + std::to_string(group.symbols);
  if (path.ends_with('/')) line += " in " + text::counted(group.files, "file");
  return line + "\n";
}

// The deepest levels of folders that fit, with the number of definitions of each; the first of the
// uppermost level when not even that fits.
std::string folders_text(const std::string& place, const std::vector<Count>& files,
                         std::int64_t total, std::size_t most) {
  const std::size_t below = place.empty() ? 0 : place.size() + 1;
  const std::string head = shown(place) + " has " +
                           text::counted(static_cast<std::size_t>(total), "definition") + " in " +
                           text::counted(files.size(), "file") +
                           ", too many to list: outline one of these for its definitions.\n";
  std::string best;
  std::map<std::string, Group> last;
  for (std::size_t folders = 1;; ++folders) {
    std::map<std::string, Group> found = groups(files, below, folders);
    if (found.size() == last.size()) return best;  // there is no deeper level
    std::string text = head;
    for (const auto& [path, group] : found) text += line_of(path, group);
    if (browse::characters(text) > most) {
      if (best.empty()) last = std::move(found);
      break;
    }
    best = std::move(text);
    last = std::move(found);
  }
  if (!best.empty()) return best;
  const std::vector<std::pair<std::string, Group>> list(last.begin(), last.end());
  return fitted(list.size(), most, [&](std::size_t count) {
    std::string text = head;
    for (std::size_t i = 0; i < count; ++i) text += line_of(list[i].first, list[i].second);
    return text + text::counted(list.size() - count, "more line") + ": raise max_characters.\n";
  });
}

ToolError nothing_at(const std::string& place, const std::optional<index::FileRecord>& file) {
  if (file && !file->skipped.empty()) {
    return ToolError(shown(place) + " is left out of the index: " +
                     browse::one_line(file->skipped, LONGEST_PATH) + ". Read the file.");
  }
  return ToolError(shown(place) + " has no definitions.");
}

std::string answer(const std::string& path, const Ready& ready, std::size_t most) {
  std::string place;
  std::vector<Count> files;
  std::optional<index::FileRecord> file;  // the place, if it is one
  ready.index->read([&](const index::Catalog& catalog) {
    if (!path.empty()) place = place_at(catalog, path, ready.viewpoint());
    files = catalog.symbols_by_file(place);
    file = catalog.file(place);
  });
  if (files.empty()) throw nothing_at(place, file);
  std::int64_t total = 0;
  for (const Count& one : files) total += one.count;
  if (!file && total > MOST_SYMBOLS) return folders_text(place, files, total, most);
  const Outline outline = browse::outline_of(*ready.index, place, MOST_SYMBOLS);
  if (std::optional<std::string> text = symbols_text(outline, most)) return *std::move(text);
  if (!file) return folders_text(place, files, total, most);
  return fitted_lines(
      most, [&](std::size_t room) { return browse::outline_text(to_depth(outline, 0), room); },
      [&](std::size_t left_out) {
        return text::counted(left_out, "more line") + ", and all that is nested, of " +
               text::counted(outline.total, "definition") +
               ": raise max_characters, or show path:line.\n";
      });
}

std::string outline(const Arguments& arguments, const Asking& asking) {
  const std::string path = arguments.optional_text("path").value_or("");
  return with_index(arguments, asking, [&](const Ready& ready, std::size_t most) {
    return answer(path, ready, most);
  });
}

}  // namespace

Tool outline_tool() {
  return {
      .name = "outline",
      .title = "List the definitions of a file or folder",
      .description =
          "Exhaustive: the definitions of a file or folder in order, with lines and signatures,"
          " without bodies. What has too many is summed up by file or folder, with their numbers."
          " Use it to see what a file holds before reading it, or how a repository is laid out."
          " Not for searching: explore and find do that.",
      .parameters = {{.name = "path",
                      .description =
                          "A file or folder, relative to the repository's root; the end of a"
                          " file's path does, if only one has it. Absent: the whole repository."},
                     max_characters_parameter(),
                     repo_parameter()},
      .answer = outline};
}

}  // namespace velmora::host::agent
