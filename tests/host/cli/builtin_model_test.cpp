// The program's own embedding model, from the indexing to the answer.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "index/connection.h"
#include "support/process.h"
#include "support/temporary_folder.h"
#include "support/word_models.h"
#include "velmora/host/index/index.h"
#include "velmora/host/index/index_folder.h"
#include "velmora/storage/sqlite.h"

namespace velmora::host::cli {
namespace {

namespace fs = std::filesystem;
using test::Finished;
using test::run_velmora;
using test::TemporaryFolder;

constexpr std::string_view ALL_OK =
    R"("channels":{"exact":"ok","lexical":"ok","file":"ok","semantic":"ok"},"note":null,)";

// A repository of two functions and a model to which "fetch" means what "download" does.
class BuiltinModel : public ::testing::Test {
 protected:
  void SetUp() override {
    folder.write("repo/a.py", "def download(page): pass\n");
    folder.write("repo/b.py", "def paint(canvas): pass\n");
    name = test::write_model(model, {{"fetch", {1, 0, 0}},
                                     {"download", {1, 0, 0}},
                                     {"paint", {0, 1, 0}},
                                     {"canvas", {0, 0, 1}}});
  }

  [[nodiscard]] Finished run(std::vector<std::string> arguments,
                             const fs::path& model_file = {}) const {
    arguments.insert(arguments.end(), {"--model", model_file.empty() ? model : model_file});
    return run_velmora(arguments);
  }
  [[nodiscard]] Finished index() const { return run({"index", repo}); }
  [[nodiscard]] std::string ask(const std::string& question) const {
    return run({"explore", "--repo", repo, "--json", question}).output;
  }

  // What the first row of `sql` holds.
  [[nodiscard]] std::string stored(const std::string& sql) const {
    storage::Database database = index::connect(file, 0);
    storage::Statement statement = database.prepare(sql);
    return statement.step() ? std::string(statement.column_text(0)) : "nothing";
  }
  // The program and the one that parses for it, alone in a folder.
  [[nodiscard]] fs::path copy_of_program() const {
    const fs::path bin = folder.path() / "bin", original = VELMORA_PROGRAM;
    fs::create_directories(bin);
    for (const char* name_of_program : {"velmora", "velmora-parse-worker"}) {
      fs::copy_file(original.parent_path() / name_of_program, bin / name_of_program);
    }
    return bin / "velmora";
  }
  [[nodiscard]] std::string fingerprint() const {
    return index::Index::open(file)->retrieval_fingerprint().value;
  }

  TemporaryFolder folder;
  const std::string repo = folder.path() / "repo";
  const fs::path model = folder.path() / "test.model";
  const fs::path file = folder.path() / "repo" / ".velmora" / "index.db";
  std::string name;
};

TEST_F(BuiltinModel, AnswersOnAllFourChannels) {
  ASSERT_EQ(index().exit_code, 0);
  const std::string answer = ask("fetch");
  EXPECT_NE(answer.find(R"("fqn":"a.download")"), std::string::npos) << answer;
  EXPECT_NE(answer.find(R"("ranks":{"semantic":1})"), std::string::npos) << answer;
  EXPECT_NE(answer.find(ALL_OK), std::string::npos) << answer;
  EXPECT_NE(ask("unheard").find(R"("note":"Ranked by name and text only: the embedding model)"
                                R"( knows none of the question's words.",)"),
            std::string::npos);
  const auto without = run({"explore", "--repo", repo, "--json", "--no-embeddings", "paint"});
  EXPECT_NE(without.output.find("only: no embedding model is configured.\""), std::string::npos);
}

TEST_F(BuiltinModel, SaysThatMeaningAloneIsAGuess) {
  ASSERT_EQ(index().exit_code, 0);
  const auto text = [&](const std::string& question) {
    return run({"--repo", repo, "--limit", "1", question}).output;
  };
  // "fetch" stands nowhere; it means what "download" does.
  EXPECT_EQ(text("fetch"),
            "Nothing matches by name or text; these are guesses by meaning.\n\n"
            "a.py:1  function a.download\n    download(page)\n\n");
  EXPECT_EQ(text("download page").find("a.py:1  function a.download\n"), 0U);
  const auto lines = run({"fetch", "--repo", repo, "--files"});
  EXPECT_EQ(lines.errors,
            "velmora: Nothing matches by name or text; these are guesses by meaning.\n");
  EXPECT_NE(ask("fetch").find(R"("guesses":true,"did_you_mean":[]})"), std::string::npos);
  EXPECT_EQ(text("dwonload")
                .find("No symbol of the index answers this question.\n"
                      "Did you mean: download?\nNote: "),
            0U);
}

TEST_F(BuiltinModel, SearchShowsTheNearestAlone) {
  EXPECT_EQ(run({"index", repo, "--no-embeddings"}).exit_code, 0);
  EXPECT_EQ(run({"search", "semantic", "fetch", "--repo", repo}).errors,
            "velmora: The index has no symbol embeddings of " + name + "\n");
  ASSERT_EQ(index().exit_code, 0);
  // The vector of a.download is that of its name; paint(canvas) has nothing in common with it.
  EXPECT_EQ(run({"search", "semantic", "fetch", "--repo", repo}).output,
            "1.000  a.py:1  function a.download\n0.000  b.py:1  function b.paint\n");
  const auto json = run({"search", "semantic", "fetch", "--repo", repo, "--json", "--limit", "1"});
  EXPECT_EQ(json.output.find(R"({"query":"fetch","model":")" + name + R"(","hits":[{"id":)"), 0U);
  EXPECT_EQ(json.output.find("b.paint"), std::string::npos);
  const auto unknown = run({"search", "semantic", "unheard", "--repo", repo});
  EXPECT_EQ(unknown.exit_code, 3);
  EXPECT_EQ(unknown.errors, "velmora: The embedding model knows none of the question's words\n");
}

TEST_F(BuiltinModel, EmbedsWhatHasNoVectorYet) {
  const std::string vectors = "SELECT group_concat(hex(numbers)) FROM vectors";
  EXPECT_EQ(run({"index", repo, "--no-embeddings"}).exit_code, 0);
  EXPECT_EQ(stored(vectors), "");
  EXPECT_NE(ask("fetch").find("the index has no symbol embeddings of " + name), std::string::npos);
  ASSERT_EQ(index().exit_code, 0);
  EXPECT_NE(ask("fetch").find(ALL_OK), std::string::npos);

  // Without a change nothing is written, although the symbol without known words has no vector.
  folder.write("repo/c.py", "def unheard(): pass\n");
  ASSERT_EQ(index().exit_code, 0);
  const std::string before = fingerprint();
  ASSERT_EQ(index().exit_code, 0);
  EXPECT_EQ(fingerprint(), before);

  // A vector that is not the model's shows what is embedded again.
  const std::string foreign = "7F7F7F";
  const std::string of_download =
      "SELECT hex(numbers) FROM embeddings AS e JOIN vectors AS v ON v.id = e.vector"
      " JOIN symbols AS s ON s.id = symbol WHERE name = 'download'";
  index::connect(file, 0).execute("UPDATE vectors SET numbers = x'" + foreign + "'");
  folder.write("repo/a.py", "\n\ndef download(page): pass\ndef fetch(): pass\n");
  ASSERT_EQ(index().exit_code, 0);
  EXPECT_EQ(stored(of_download), foreign);
  EXPECT_EQ(stored("SELECT count(*) FROM vectors"), "3");
  EXPECT_NE(fingerprint(), before);

  // Another model embeds everything, and the vectors of the first are gone.
  const std::string other = test::write_model(model, {{"download", {0, 1}}, {"paint", {1, 0}}});
  ASSERT_NE(other, name);
  ASSERT_EQ(index().exit_code, 0);
  EXPECT_EQ(stored(of_download), "007F");
  EXPECT_EQ(stored("SELECT group_concat(name) FROM models"), other);
  EXPECT_EQ(stored("SELECT count(*) FROM vectors"), "2");
}

TEST_F(BuiltinModel, SaysWhatIsWrongWithItsFile) {
  ASSERT_EQ(index().exit_code, 0);
  const auto content = [&] {
    std::ifstream stream(model, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(stream), {});
  }();
  const auto flipped = [&](std::size_t at) {
    std::string changed = content;
    changed[at] = static_cast<char>(changed[at] ^ 0x40);
    return changed;
  };
  const fs::path pipe = folder.path() / "pipe";
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  const std::vector<std::tuple<std::string, std::string>> cases = {
      {folder.path() / "none", " cannot be read: No such file or directory"},
      {folder.write("empty", ""), " is cut short or is no model"},
      {folder.write("cut", content.substr(0, content.size() - 1)), " is cut short or damaged: it"},
      {folder.write("text", std::string(content.size(), 'x')), " is no model"},
      {folder.write("flipped", flipped(content.size() - 1)), " is damaged: its checksum is wrong"},
      {folder.path(), " is not a file"},
      {pipe, " is not a file"},
  };
  const std::string before = fingerprint();
  for (const auto& [path, fault] : cases) {
    const auto answer = run({"explore", "--repo", repo, "--json", "paint"}, path);
    EXPECT_EQ(answer.exit_code, 0);
    EXPECT_NE(answer.output.find(R"("semantic":"unavailable"},"note":"Ranked by name and text)"
                                 " only: the model file " +
                                 path + fault),
              std::string::npos)
        << answer.output;
    EXPECT_NE(answer.output.find(".\",\"guesses\":false"), std::string::npos);
    const auto refused = run({"index", repo}, path);
    EXPECT_EQ(refused.exit_code, 3);
    EXPECT_EQ(refused.errors.find("velmora: The model file " + path + fault), 0U);
    EXPECT_EQ(fingerprint(), before);
  }
}

// A model that was tuned for the repository stands beside its index.
TEST_F(BuiltinModel, TunedModelComesBeforeTheShipped) {
  const fs::path program = copy_of_program();
  fs::copy_file(model, folder.path() / "bin" / "builtin.model");
  const auto run_plain = [&](const std::vector<std::string>& arguments) {
    return run_velmora(arguments, "", "/", program);
  };
  const auto explore = [&] { return run_plain({"explore", "--repo", repo, "--json", "obtain"}); };
  const std::string models = "SELECT group_concat(name) FROM models";
  ASSERT_EQ(run_plain({"index", repo}).exit_code, 0);
  EXPECT_EQ(stored(models), name);
  EXPECT_NE(explore().output.find("knows none of the question's words"), std::string::npos);

  const fs::path tuned = file.parent_path() / "tuned.model";
  const std::string tuned_name = test::write_model(tuned, {{"obtain", {1}}, {"download", {1}}});
  // One that came with the repository is not used.
  EXPECT_NE(explore().errors.find("tuned.model was not made here"), std::string::npos);
  EXPECT_NE(explore().output.find("knows none of the question's words"), std::string::npos);
  index::note_made_here(tuned);
  EXPECT_EQ(explore().errors, "");
  EXPECT_NE(explore().output.find("no symbol embeddings of " + tuned_name), std::string::npos);
  ASSERT_EQ(run_plain({"index", repo}).exit_code, 0);
  EXPECT_EQ(stored(models), tuned_name);
  EXPECT_NE(explore().output.find(ALL_OK), std::string::npos);
  ASSERT_EQ(index().exit_code, 0);  // --model is stronger
  EXPECT_EQ(stored(models), name);

  fs::resize_file(tuned, 100);
  const std::string fault = "he model file " + tuned.string() + " is cut short";
  EXPECT_NE(explore().output.find("only: t" + fault), std::string::npos);
  const auto refused = run_plain({"index", repo});
  EXPECT_EQ(refused.exit_code, 3);
  EXPECT_EQ(refused.errors.find("velmora: T" + fault), 0U) << refused.errors;
  EXPECT_EQ(stored(models), name);
}

TEST_F(BuiltinModel, ComesWithTheProgram) {
  const fs::path program = copy_of_program();
  const auto without = run_velmora({"index", repo}, "", "/", program);
  EXPECT_EQ(without.exit_code, 0);
  EXPECT_EQ(without.errors, "velmora: The model file " + (folder.path() / "bin").string() +
                                "/builtin.model cannot be read: No such file or directory."
                                " Indexing without embeddings\n");
  for (const char* place : {"share/velmora", "bin"}) {
    fs::create_directories(folder.path() / place);
    fs::copy_file(model, folder.path() / place / "builtin.model");
    fs::remove_all(folder.path() / "repo" / ".velmora");
    EXPECT_EQ(run_velmora({"index", repo}, "", "/", program).exit_code, 0);
    const auto ask = [&](const std::string& more) {
      return run_velmora({"explore", "--repo", repo, "--json", "fetch", more}, "", "/", program);
    };
    EXPECT_NE(ask("--no-rerank").output.find(ALL_OK), std::string::npos);
    const fs::path weights = folder.path() / place / "builtin.decision";
    const auto unordered = ask("--why");
    EXPECT_NE(unordered.output.find("could not rerank the hits"), std::string::npos);
    EXPECT_NE(unordered.errors.find("builtin.decision is missing"), std::string::npos);
    fs::copy_file(fs::path(VELMORA_PROGRAM).parent_path() / "builtin.decision", weights);
    const auto answer = ask("--why");
    EXPECT_NE(answer.output.find(ALL_OK), std::string::npos) << answer.output;
    EXPECT_NE(answer.output.find(R"("place_before_rerank":1)"), std::string::npos);
    fs::remove(weights);
  }
}

}  // namespace
}  // namespace velmora::host::cli
