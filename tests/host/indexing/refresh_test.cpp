#include "velmora/host/indexing/refresh.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "support/temporary_folder.h"
#include "velmora/storage/sqlite.h"

namespace velmora::host::indexing {
namespace {

namespace fs = std::filesystem;
using test::TemporaryFolder;

using Lines = std::vector<std::string>;

// The rows of `sql`, the columns of a row joined by '|'.
Lines query(const fs::path& file, const std::string& sql) {
  storage::Database database(file, SQLITE_OPEN_READWRITE);
  storage::Statement select = database.prepare(sql);
  Lines lines;
  while (select.step()) lines.emplace_back(select.column_text(0));
  return lines;
}

constexpr const char* CONTENT = R"sql(
  SELECT concat FROM (
    SELECT f.path || '|' || f.language || '|' || f.size || '|' || f.hash || '|' || f.skipped
      AS concat FROM files AS f
    UNION ALL
    SELECT f.path || '|' || fqn || '|' || name || '|' || kind || '|' || s.language || '|' ||
      start_line || '|' || end_line || '|' || ifnull(signature, '-') || '|' ||
      ifnull(docstring, '-')
      FROM symbols AS s JOIN files AS f ON f.id = s.file
  ) ORDER BY concat)sql";

// The ids of the symbols by what keeps them: path, kind, fqn, signature, docstring, and the place
// among equal ones.
std::map<std::string, std::string> ids(const fs::path& file) {
  std::map<std::string, std::string> found;
  for (const std::string& line :
       query(file,
             "SELECT s.id || ' ' || json_array(path, kind, fqn, signature, docstring,"
             " row_number() OVER (PARTITION BY path, kind, fqn, signature, docstring"
             " ORDER BY start_line, s.id)) FROM symbols AS s JOIN files AS f"
             " ON f.id = s.file")) {
    const std::size_t space = line.find(' ');
    found.emplace(line.substr(space + 1), line.substr(0, space));
  }
  return found;
}

// A small tree of sources, with an index that is brought up to date and others made anew.
class Refresh : public ::testing::Test {
 protected:
  RefreshReport refresh_index(const RefreshOptions& options = {}) const {
    return refresh(root, *index::Index::open_or_create(file), options);
  }

  Lines made_anew() const {
    const TemporaryFolder other;
    static_cast<void>(refresh(root, *index::Index::open_or_create(other.path() / "index.db")));
    return query(other.path() / "index.db", CONTENT);
  }

  std::string fingerprint() const {
    return index::Index::open(file)->retrieval_fingerprint().value;
  }

  const TemporaryFolder folder, index_folder;
  const fs::path root = folder.path(), file = index_folder.path() / "index.db";
};

std::string random_source(std::mt19937& random) {
  std::string text;
  for (auto i = random() % 6; i > 0; --i) {
    const std::string name = "f" + std::to_string(random() % 3);
    switch (random() % 4) {
      case 0:
        text += "\n\n";
        break;
      case 1:
        text += "def " + name + "(a, b):\n    return a\n";
        break;
      case 2:
        text += "def " + name + "(a):\n    \"\"\"Doc.\"\"\"\n";
        break;
      default:
        text += "class " + name + ":\n    def m(self):\n        pass\n";
        break;
    }
  }
  return text;
}

TEST_F(Refresh, EqualsAnIndexMadeAnewAfterAnyEdits) {
  std::mt19937 random(20240817);
  const Lines names = {"a.py", "b.py", "sub/a.py", "sub/deep/c.py", "x.h", "sub/x.h"};
  const auto any = [&] { return names[random() % names.size()]; };
  std::set<std::string> every_id;
  for (int round = 0; round < 40; ++round) {
    const auto before = round == 0 ? std::map<std::string, std::string>() : ids(file);
    for (auto edits = random() % 4; edits > 0; --edits) {
      const std::string name = any();
      const bool there = fs::exists(root / name);
      switch (random() % 6) {
        case 0:
          fs::remove(root / name);
          break;
        case 1:
          if (there) fs::rename(root / name, root / any());
          break;
        case 2:  // lines move
          if (there) std::ofstream(root / name, std::ios::app) << "\n\ndef moved(): pass\n";
          break;
        case 3:  // the sources around a header change, and so its language
          if (!fs::remove(root / "sub/y.cc")) folder.write("sub/y.cc", "namespace n { class A; }");
          break;
        case 4:
          folder.write(name, std::string("\0binary", 7));
          break;
        default:
          folder.write(name, name.ends_with("h") ? "int f(void);" : random_source(random));
      }
      fs::create_directories(root / "sub/deep");
    }
    static_cast<void>(refresh_index());
    ASSERT_EQ(query(file, CONTENT), made_anew()) << "round " << round;
    for (const auto& [symbol, id] : ids(file)) {
      const auto earlier = before.find(symbol);
      if (earlier != before.end()) {
        EXPECT_EQ(earlier->second, id) << symbol;
        continue;
      }
      EXPECT_TRUE(every_id.insert(id).second) << "an id given twice: " << id;
    }
  }
}

TEST_F(Refresh, ReadsWhatChangedAndParsesWhatIsNew) {
  folder.write("a.py", "def f(): pass\n");
  folder.write("b.py", "def g(): pass\n");
  const auto old = fs::file_time_type::clock::now() - std::chrono::hours(1);
  for (const char* name : {"a.py", "b.py"}) fs::last_write_time(root / name, old);
  EXPECT_EQ(refresh_index().added, 2U);
  const std::string first = fingerprint();
  const auto modified = [&] { return fs::last_write_time(file); };
  const auto written = modified();
  EXPECT_EQ(refresh_index().unchanged, 2U);
  EXPECT_EQ(modified(), written);

  // Another content of the same size and time is not noticed: the file was not read.
  folder.write("a.py", "def h(): pass\n");
  fs::last_write_time(root / "a.py", old);
  EXPECT_EQ(refresh_index().unchanged, 2U);
  EXPECT_EQ(fingerprint(), first);
  // The same content at another time was read and not parsed: nothing in the index is new.
  fs::last_write_time(root / "b.py", old + std::chrono::minutes(1));
  EXPECT_EQ(refresh_index().unchanged, 2U);
  EXPECT_EQ(fingerprint(), first);

  // Symbols of another version are all made again.
  storage::Database(file, SQLITE_OPEN_READWRITE).execute("UPDATE meta SET extraction = 'other'");
  EXPECT_EQ(refresh_index().changed, 2U);
  EXPECT_EQ(query(file, CONTENT), made_anew());
  EXPECT_NE(fingerprint(), first);

  // A larger limit takes in what was too large.
  EXPECT_EQ(refresh_index({.largest_file = 5}).skipped.size(), 2U);
  EXPECT_EQ(refresh_index().added, 2U);
}

TEST_F(Refresh, KeepsTheEmbeddingsOfUnchangedSymbols) {
  folder.write("a.py", "def f(): pass\n");
  index::Symbol kept{.fqn = "a.f",
                     .name = "f",
                     .kind = "function",
                     .language = "python",
                     .path = "a.py",
                     .start_line = 7,
                     .end_line = 9,
                     .signature = "a.f()"};
  index::Symbol lost = kept;
  kept.id = 41, lost.id = 42, lost.fqn = "a.gone";
  kept.embeddings = lost.embeddings = {{"m", {1.0F, 0.0F}}};
  static_cast<void>(refresh_index());
  kept.signature = query(file, "SELECT signature FROM symbols WHERE name = 'f'").at(0);
  kept.fqn = query(file, "SELECT fqn FROM symbols WHERE name = 'f'").at(0);
  Lines names;
  std::vector<index::Symbol> symbols = {lost, kept};
  const auto index = index::Index::open_or_create(file);
  index->replace([&]() -> std::optional<index::Symbol> {
    if (symbols.empty()) return std::nullopt;
    index::Symbol last = symbols.back();
    symbols.pop_back();
    return last;
  });
  static_cast<void>(refresh_index());
  const auto near = index->nearest_symbol_ids(std::vector{1.0F, 0.0F}, "m", {.top_k = 9});
  ASSERT_EQ(near.size(), 1U);
  EXPECT_EQ(near[0].id, 41);
  EXPECT_EQ(query(file, CONTENT), made_anew());
}

TEST_F(Refresh, AnErrorLeavesTheIndexAsItWas) {
  for (int i = 0; i < 20; ++i) folder.write(std::to_string(i) + ".py", "def f(): pass\n");
  static_cast<void>(refresh_index());
  const Lines before = query(file, CONTENT);
  const std::string first = fingerprint();
  for (int i = 0; i < 20; ++i) folder.write(std::to_string(i) + ".py", "def other(): pass\n");
  const auto stop = [](const RefreshProgress& progress) {
    if (progress.files_done == 10) throw std::runtime_error("stopped");
  };
  EXPECT_THROW(static_cast<void>(refresh_index({.progress = stop})), std::runtime_error);
  EXPECT_EQ(query(file, CONTENT), before);
  EXPECT_EQ(fingerprint(), first);
}

}  // namespace
}  // namespace velmora::host::indexing
