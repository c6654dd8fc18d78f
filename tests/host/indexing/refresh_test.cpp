#include "velmora/host/indexing/refresh.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "cli/answer_json.h"
#include "index/connection.h"
#include "index/symbol_ids.h"
#include "support/temporary_folder.h"
#include "support/word_models.h"
#include "velmora/host/embedding/builtin_engine.h"
#include "velmora/host/embedding/symbol_text.h"
#include "velmora/storage/sqlite.h"
#include "velmora/workers/retrieval.h"

namespace velmora::host::indexing {
namespace {

namespace fs = std::filesystem;
using test::TemporaryFolder;

using Lines = std::vector<std::string>;

// The rows of `sql`, the columns of a row joined by '|'.
Lines query(const fs::path& file, const std::string& sql) {
  storage::Database database = index::connect(file, 0);
  storage::Statement select = database.prepare(sql);
  Lines lines;
  while (select.step()) lines.emplace_back(select.column_text(0));
  return lines;
}

// All that an index holds of its tree: rows of files, of symbols, and of the built-in model.
constexpr const char* CONTENT = R"sql(
  SELECT json_array('file', id, path, language, expected, is_header, size, hash, skipped) FROM files
  UNION ALL
  SELECT json_array('symbol', id, file, fqn, name, kind, language, start_line, end_line, signature,
                    docstring, words) FROM symbols
  UNION ALL
  SELECT json_array('vector', m.name, symbol, hex(numbers)) FROM embeddings AS e
    JOIN models AS m ON m.id = e.model JOIN vectors AS v ON v.id = e.vector WHERE m.kind = 'int8'
  ORDER BY 1)sql";

// The ids of the symbols by path, kind and fqn.
std::map<std::string, std::set<std::string>> ids(const fs::path& file) {
  std::map<std::string, std::set<std::string>> found;
  for (const std::string& line : query(file,
                                       "SELECT s.id || ' ' || path || ' ' || kind || ' ' || fqn"
                                       " FROM symbols AS s JOIN files AS f ON f.id = s.file")) {
    const std::size_t space = line.find(' ');
    found[line.substr(space + 1)].insert(line.substr(0, space));
  }
  return found;
}

// Two texts whose numbers are one.
Lines collision(const std::function<std::string(int)>& text,
                const std::function<std::int64_t(const std::string&)>& number) {
  std::map<std::int64_t, std::string> seen;
  for (int i = 0;; ++i) {
    const auto [earlier, is_new] = seen.emplace(number(text(i)), text(i));
    if (!is_new) return {earlier->second, text(i)};
  }
}

// A small tree of sources, with an index that is brought up to date and others made anew.
class Refresh : public ::testing::Test {
 protected:
  RefreshReport refresh_index(const RefreshOptions& options = {}) const {
    return refresh(root, *index::Index::open_or_create(file), options);
  }

  void expect_equal_to_one_made_anew(const RefreshOptions& options = {},
                                     const fs::path& model_file = {}) const {
    const TemporaryFolder other;
    const fs::path anew = other.path() / "index.db";
    static_cast<void>(refresh(root, *index::Index::open_or_create(anew), options));
    EXPECT_EQ(query(file, CONTENT), query(anew, CONTENT));
    if (model_file.empty()) return;
    EXPECT_EQ(answers(file, model_file), answers(anew, model_file));
  }

  static std::string answers(const fs::path& file, const fs::path& model_file) {
    namespace retrieval = workers::retrieval;
    const auto index = index::Index::open(file);
    retrieval::HybridRetriever retriever(
        index, {.embedder = retrieval::engine_query_embedder(
                    std::make_shared<embedding::BuiltinEngine>(model_file))});
    const browse::Answerer answerer(index, retriever, {}, {});
    std::string text;
    for (const char* question : {"alpha", "beta doc", "where is gamma moved", "Alpha.m", "int"}) {
      text += cli::answer_json(answerer.answer(question, {.limit = 30}), {});
    }
    return text;
  }

  std::string fingerprint() const {
    return index::Index::open(file)->retrieval_fingerprint().value;
  }

  void execute(const std::string& sql) const { index::connect(file, 0).execute(sql); }

  // Makes the index one whose files were looked at long after they were written.
  void settle() const {
    storage::Database database = index::connect(file, 0);
    storage::Statement update =
        database.prepare("UPDATE files SET modified = ?, changed = ? WHERE path = ?");
    for (const std::string& path : query(file, "SELECT path FROM files")) {
      const struct stat status = status_of(path);
      update.bind(1, nanoseconds(status.st_mtim)).bind(2, nanoseconds(status.st_ctim));
      update.bind(3, path).run();
    }
  }

  struct stat status_of(const std::string& path) const {
    struct stat status {};
    EXPECT_EQ(::stat((root / path).c_str(), &status), 0);
    return status;
  }

  static std::int64_t nanoseconds(const timespec& time) {
    return time.tv_sec * std::int64_t{1'000'000'000} + time.tv_nsec;
  }

  const TemporaryFolder folder, index_folder;
  const fs::path root = folder.path(), file = index_folder.path() / "index.db";
};

std::string random_source(std::mt19937& random) {
  const char* const names[] = {"alpha", "beta", "Alpha"};
  std::string text;
  for (auto i = random() % 6; i > 0; --i) {
    const std::string name = names[random() % 3];
    switch (random() % 4) {
      case 0:
        text += "\n\n";
        break;
      case 1:
        text += "def " + name + "(a, b):\n    return " + names[random() % 3] + "\n";
        break;
      case 2:
        text += "def " + name + "(a):\n    \"\"\"Doc of gamma.\"\"\"\n";
        break;
      default:
        text += "class " + name + ":\n    def m(self):\n        pass\n";
        break;
    }
  }
  return text;
}

std::string random_header(std::mt19937& random, const Lines& names) {
  std::string text;
  for (auto i = random() % 5; i > 0; --i) {
    if (random() % 8 == 0) text += "class alpha { public: int m(); };\n";
    const char* const parameters[] = {"void", "int a", "int alpha"};
    text += "int " + names[random() % names.size()] + "(" + parameters[random() % 3] + ");\n";
  }
  return text;
}

// What somebody may set, from one round to the next.
SourceRules random_rules(std::mt19937& random) {
  const auto sometimes = [&] { return random() % 4 == 0; };
  SourceRules rules;
  if (sometimes()) rules.largest_file = 60;
  for (const char* glob : {"sub/", "a.py", "!sub/a.py", "*.h", "/x.h", "sub/*/", "**/c.py"}) {
    if (sometimes()) rules.leave_out.emplace_back(glob);
  }
  const LanguageRule languages[] = {
      {"*.h", "cpp"}, {"x.h", "c"}, {"sub/*.h", "python"}, {"b.*", "ruby"}, {"*.odd", "python"}};
  for (const LanguageRule& rule : languages) {
    if (sometimes()) rules.languages.push_back(rule);
  }
  return rules;
}

TEST_F(Refresh, EqualsAnIndexMadeAnewAfterAnyEdits) {
  std::mt19937 random(20240817);
  const auto number_of_function = [](const std::string& name) {
    return index::symbol_numbers(std::vector<index::SymbolName>{{"function", name}})[0];
  };
  const Lines same_number =
      collision([](int i) { return "p" + std::to_string(i) + ".py"; }, index::wanted_file_number);
  Lines functions = collision([](int i) { return "f" + std::to_string(i); }, number_of_function);
  const auto has_own_number = [&](const std::string& symbol) {
    return std::ranges::none_of(same_number,
                                [&](auto& path) { return symbol.starts_with(path); }) &&
           std::ranges::none_of(functions, [&](auto& name) { return symbol.ends_with(name); });
  };
  const Lines header_names = {functions[0], functions[1], "beta"};
  Lines names = {"a.py", "b.py", "sub/a.py", "sub/deep/c.py", "x.h", "sub/x.h", "d.odd"};
  names.insert(names.end(), same_number.begin(), same_number.end());
  const fs::path model_file = index_folder.path() / "test.model";
  test::write_model(model_file, {{"alpha", {3, 1}}, {"beta", {0, 1}}, {"gamma", {-1, 2}}});
  const auto model = embedding::WordModel::open(model_file);
  // A server's model, whose vectors are known by their texts alone.
  const index::TextModel server{.name = "server", .prefix = {}, .text_length = 99};
  const index::KeyOf key_of = embedding::symbol_keys(server);
  index::Index::open_or_create(file)->replace([] { return std::optional<index::Symbol>(); });
  index::Index::open(file)->update_vectors(
      [&](index::TextVectors& vectors) { vectors.set_model(server); });

  const auto any = [&] { return names[random() % names.size()]; };
  int collisions = 0;
  SourceRules rules;
  for (int round = 0; round < 60 && !HasFailure(); ++round) {
    SCOPED_TRACE(round);
    const auto before = ids(file);
    if (random() % 2 == 0) {
      settle();
      rules = random() % 4 == 0 ? SourceRules() : random_rules(random);
    }
    for (auto edits = random() % 4; edits > 0; --edits) {
      const std::string name = any();
      const bool there = fs::exists(root / name);
      switch (random() % 7) {
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
          folder.write(name, name.ends_with("h") ? random_header(random, header_names)
                                                 : random_source(random));
      }
      fs::create_directories(root / "sub/deep");
    }
    // What changes without the model waits for it.
    const bool embeds = random() % 3 != 0;
    static_cast<void>(refresh_index({.rules = rules, .model = embeds ? model : nullptr}));
    if (embeds) expect_equal_to_one_made_anew({.rules = rules, .model = model}, model_file);

    EXPECT_EQ(query(file, "SELECT count(*) FROM symbols WHERE id >> 22 <> file OR id >> 53 <> 0"),
              Lines{"0"});
    const auto after = ids(file);
    for (const auto& [symbol, earlier] : before) {
      const auto now = after.find(symbol);
      if (now == after.end() || !has_own_number(symbol)) continue;
      const bool fewer = now->second.size() < earlier.size();
      EXPECT_TRUE(
          std::ranges::includes(fewer ? earlier : now->second, fewer ? now->second : earlier))
          << symbol << " has other ids";
    }
    const auto holds = [](const Lines& all, const auto& has) {
      return std::ranges::all_of(all, has);
    };
    if (holds(same_number, [&](auto& path) { return fs::exists(root / path); })) ++collisions;

    // The symbols have the vectors of their texts that are known: a link of all changes nothing.
    index::Index::open(file)->update_vectors([&](index::TextVectors& vectors) {
      const index::TextVectors::Links links = vectors.link("server", key_of);
      EXPECT_EQ(links.linked, 0);
      EXPECT_FALSE(vectors.changed());
      if (links.missing.empty()) return;
      const auto& [symbol, key] = links.missing[random() % links.missing.size()];
      vectors.add("server", key, std::vector<float>{1, 2}, std::vector{symbol}, key_of);
      static_cast<void>(vectors.link("server", key_of));
    });
  }
  EXPECT_GT(collisions, 5);
}

TEST_F(Refresh, ReadsWhatChangedAndParsesWhatIsNew) {
  folder.write("a.py", "def f(): pass\n");
  folder.write("b.py", "def g(): pass\n");
  EXPECT_EQ(refresh_index().added, 2U);
  const std::string first = fingerprint();
  settle();
  const auto modified = [&] { return fs::last_write_time(file); };
  const auto written = modified();
  EXPECT_EQ(refresh_index().unchanged, 2U);
  EXPECT_EQ(modified(), written);

  // A wrong hash shows what is read: a file of which anything is other than it was known.
  execute("UPDATE files SET hash = 1");
  EXPECT_EQ(refresh_index().unchanged, 2U);
  for (const char* fact : {"size", "modified", "changed", "inode"}) {
    execute(std::string("UPDATE files SET hash = 1, ") + fact + " = " + fact + " + 1");
    EXPECT_EQ(refresh_index().changed, 2U) << fact;
    settle();
  }
  // The same content at another time is read and not parsed: nothing in the index is new.
  execute("UPDATE files SET modified = modified - 1, language = 'kept'");
  EXPECT_EQ(refresh_index().unchanged, 2U);
  EXPECT_EQ(query(file, "SELECT DISTINCT language FROM files"), Lines{"kept"});
  EXPECT_EQ(fingerprint(), first);

  // Symbols of another version are all made again.
  execute("UPDATE symbols SET end_line = 9; UPDATE meta SET extraction = 'other'");
  EXPECT_EQ(refresh_index().changed, 2U);
  expect_equal_to_one_made_anew();
  EXPECT_NE(fingerprint(), first);

  // A larger limit takes in what was too large.
  EXPECT_EQ(refresh_index({.largest_file = 5}).skipped.size(), 2U);
  EXPECT_EQ(refresh_index().added, 2U);
}

TEST_F(Refresh, SeesOtherContentOfTheSameSizeAndTime) {
  const auto old = fs::file_time_type::clock::now() - std::chrono::hours(1);
  const auto write = [&](const std::string& content) {
    folder.write("a.py", content);
    fs::last_write_time(root / "a.py", old);
  };
  write("def f(): pass\n");
  EXPECT_EQ(refresh_index().added, 1U);
  // At once, while the clock of the file system may stand still.
  write("def g(): pass\n");
  EXPECT_EQ(refresh_index().changed, 1U);
  // And later.
  settle();
  const std::int64_t before = nanoseconds(status_of("a.py").st_ctim);
  do {
    write("def h(): pass\n");
  } while (nanoseconds(status_of("a.py").st_ctim) == before);
  EXPECT_EQ(refresh_index().changed, 1U);
  expect_equal_to_one_made_anew();
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
  EXPECT_EQ(query(file, "SELECT id FROM symbols"), Lines{std::to_string(near[0].id)});
  expect_equal_to_one_made_anew();
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
