#include "browse/status.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>
#include <map>
#include <span>
#include <system_error>
#include <utility>

#include "browse/counted_list.h"
#include "settings/settings.h"
#include "text/printable.h"
#include "velmora/host/index/index_folder.h"
#include "velmora/host/indexing/languages.h"

namespace velmora::host::browse {
namespace {

namespace fs = std::filesystem;
using indexing::Skipped;

// How many of a list are shown to people in a hurry.
constexpr std::size_t FEW = 10;

std::int64_t size_of(const fs::path& file) {
  std::int64_t bytes = 0;
  for (const char* part : {"", "-wal", "-shm"}) {
    std::error_code absent;
    const std::uintmax_t size = fs::file_size(file.string() + part, absent);
    if (!absent) bytes += static_cast<std::int64_t>(size);
  }
  return bytes;
}

std::string in_megabytes(std::int64_t bytes) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%.1f MB", static_cast<double>(bytes) / 1e6);
  return text.data();
}

std::string number(std::size_t value) { return std::to_string(value); }
std::string number(std::int64_t value) { return std::to_string(value); }

// What somebody else may have written into the index, however long.
std::string brief(const std::string& text) {
  constexpr std::size_t LONGEST = 240;
  return one_line(text, LONGEST);
}

std::string name_of(const std::string& name) {
  return name.empty() ? "of no known language" : brief(name);
}

// Writes the parts of a status, a function each.
class StatusWriter {
 public:
  StatusWriter(const Status& status, bool every, std::size_t most_characters)
      : status_(status), most_(every ? EVERY_CHARACTER : FEW), writer_(most_characters) {}

  LimitedText write() {
    add_origin();
    add_content();
    add_models();
    add_left_out();
    if (status_.tree) add_changes(*status_.tree);
    return writer_.take();
  }

 private:
  void add_origin() {
    const index::Summary& summary = status_.summary;
    writer_.add("Index: " + text::printable_line(status_.file.string()) + ", " +
                in_megabytes(status_.bytes));
    writer_.add("Written: " + utc_time(summary.written) + " by velmora " + brief(summary.version) +
                (summary.extraction.empty() ? ", as an import" : ""));
    if (!status_.made_here) {
      writer_.add("It was not made here by you, and says what its maker wanted.");
    }
    if (!status_.same_reader && !summary.extraction.empty()) {
      writer_.add("This velmora reads sources otherwise: the next velmora index reads all anew.");
    }
  }

  void add_content() {
    const index::Summary& summary = status_.summary;
    add_counts("Files: " + number(summary.files), summary.file_languages);
    add_counts("Symbols: " + number(summary.symbols), summary.symbol_languages);
    if (summary.symbols > 0) add_counts("Kinds", summary.symbol_kinds);
  }

  void add_counts(std::string line, const std::vector<index::Count>& counts) {
    if (!counts.empty()) line += ": " + list_of(counts, most_, name_of);
    writer_.add(line);
  }

  void add_models() {
    const index::Summary& summary = status_.summary;
    if (summary.models.empty()) writer_.add("Vectors: none; questions go by names and text alone");
    for (const index::ModelCount& model : summary.models) {
      std::string line = "Vectors of " + brief(model.name) + ": " + number(model.vectors) + " as " +
                         brief(model.kind);
      if (model.vectors < summary.symbols) {
        line += ", " + number(summary.symbols - model.vectors) + " symbols have none";
      }
      if (model.waiting > 0) line += ", " + number(model.waiting) + " wait for one";
      writer_.add(line);
    }
  }

  void add_left_out() {
    if (status_.left_out.empty()) return;
    std::map<std::string, std::size_t> reasons;
    for (const Skipped& one : status_.left_out) ++reasons[one.reason];
    writer_.add("Left out: " + list_of(by_count(reasons), most_, [](const std::string& reason) {
                  return "(" + brief(reason) + ")";
                }));
    add_list(status_.left_out, [](const Skipped& one) {
      return text::printable_line(one.path) + (one.is_folder ? "/: " : ": ") + brief(one.reason);
    });
  }

  void add_changes(const upkeep::TreeChanges& tree) {
    if (!tree.others.empty()) {
      writer_.add(other_kinds(tree.others, most_));
    }
    if (!tree.any()) {
      writer_.add("Nothing changed since.");
      return;
    }
    writer_.add("Since then " + number(tree.added.size()) + " added, " +
                number(tree.changed.size()) + " changed, " + number(tree.removed.size()) +
                " removed");
    add_paths("added ", tree.added);
    add_paths("changed ", tree.changed);
    add_paths("removed ", tree.removed);
  }

  void add_paths(const std::string& what, const std::vector<std::string>& paths) {
    add_list(paths, [&](const std::string& path) { return what + text::printable_line(path); });
  }

  template <class Item, class Line>
  void add_list(const std::vector<Item>& items, Line&& line) {
    const std::size_t shown = std::min(items.size(), most_);
    for (const Item& item : std::span(items).first(shown)) writer_.add("  " + line(item));
    if (shown < items.size()) writer_.add("  and " + number(items.size() - shown) + " more");
  }

  const Status& status_;
  const std::size_t most_;
  LineWriter writer_;
};

}  // namespace

Status status_of(index::Index& index, const fs::path& file) {
  Status status{.file = file,
                .root = index::repository_of(file),
                .bytes = size_of(file),
                .made_here = index.made_here()};
  index::TreeState known;
  index.read([&](const index::Catalog& catalog) {
    status.summary = catalog.summary();
    known = catalog.tree_state();
  });
  status.same_reader = status.summary.extraction == indexing::EXTRACTION_VERSION;
  for (const auto& [name, record] : known.files) {
    if (!record.skipped.empty()) status.left_out.push_back({name, record.skipped});
  }
  if (!status.root.empty() && !status.summary.extraction.empty()) {
    // How much is read is not for somebody else to say.
    if (!status.made_here) known.largest_file = 0;
    status.tree = upkeep::changes_since(status.root, known, settings::source_rules(status.root),
                                        upkeep::Evidence::content);
    const std::vector<Skipped>& folders = status.tree->left_out;
    status.left_out.insert(status.left_out.end(), folders.begin(), folders.end());
    std::ranges::sort(status.left_out, {}, &Skipped::path);
  }
  return status;
}

LimitedText status_text(const Status& status, bool every, std::size_t most_characters) {
  return StatusWriter(status, every, most_characters).write();
}

std::string utc_time(std::int64_t seconds_since_1970) {
  const std::time_t time = seconds_since_1970;
  std::tm utc{};
  std::array<char, 64> text{};
  if (gmtime_r(&time, &utc) == nullptr ||
      std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &utc) == 0) {
    return "unknown";
  }
  return text.data();
}

}  // namespace velmora::host::browse
