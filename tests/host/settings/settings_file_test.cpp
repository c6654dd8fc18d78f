#include "settings/settings_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

#include "support/temporary_folder.h"

namespace velmora::host::settings {
namespace {

namespace fs = std::filesystem;
using test::TemporaryFolder;

// What reading the file says of it: its settings, a line each, or the error behind the file's name.
std::string read(const fs::path& file, Whose whose) {
  try {
    std::string text;
    for (const FileSetting& one : read_settings_file(file, whose)) {
      text += std::to_string(one.line) + " " + std::string(one.key->name) + " " +
              to_toml(one.value) + "\n";
    }
    return text;
  } catch (const SettingsError& error) {
    const std::string message = error.what();
    EXPECT_TRUE(message.starts_with(file.string()));
    return message.substr(file.string().size());
  }
}

TEST(SettingsFile, SaysWhatStandsInItOrWhereItIsWrong) {
  constexpr Whose USER = Whose::user;
  constexpr Whose REPOSITORY = Whose::repository;
  struct Case {
    Whose whose;
    std::string content;
    std::string read;
  };
  const std::string url_places =
      " must not stand in this file, but in the environment (VELMORA_EMBEDDINGS_URL) or your own"
      " settings";
  const Case cases[] = {
      {USER, "", ""},
      {REPOSITORY,
       "# ours\nindex.max_file_size = 1_000\n[ranking]\nweights.name = 2\nrrf_k = 0x10\n"
       "[languages]\n'z.*' = 'c'\n'a.*' = 'cpp'\n[index]\n",
       ":9: "},  // a table that is there twice
      {REPOSITORY,
       "# ours\nranking = {rrf_k = 16, weights.name = 2}\n[languages]\n'z.*' = 'c'\n'a.*' = 'cpp'\n"
       "[index]\nmax_file_size = 1_000\nleave_out = [\n  '/build',\n  '!keep \"it\"',\n]\n",
       "2 ranking.rrf_k 16\n2 ranking.weights.name 2\n"
       "3 languages {\"z.*\" = \"c\", \"a.*\" = \"cpp\"}\n7 index.max_file_size 1000\n"
       "8 index.leave_out [\"/build\", \"!keep \\\"it\\\"\"]\n"},
      {USER, "model = 'm'\n[embeddings]\nurl = 'u'\n[rerank]\nshare_source = true\n",
       "1 model \"m\"\n3 embeddings.url \"u\"\n5 rerank.share_source true\n"},
      // What a stranger must not say, and what stands in no file.
      {REPOSITORY, "\n[embeddings]\nurl = 'u'", ":3: embeddings.url" + url_places},
      {REPOSITORY, "model = '/etc/passwd'", ":1: model must not stand in this file, but in the "},
      {REPOSITORY, "rerank.share_source = true", ":1: rerank.share_source must not stand in this"},
      {REPOSITORY, "explore.limit = 3", ":1: explore.limit must not stand in this file"},
      {USER, "rerank.api_key = 'secret'",
       ":1: rerank.api_key must not stand in this file, but in the environment"
       " (VELMORA_RERANK_API_KEY) alone"},
      // Names.
      {USER, "a = 1", ":1: there is no setting a. velmora config lists all"},
      {USER, "[ranking]\nrrf-k = 1",
       ":2: there is no setting ranking.rrf-k. Did you mean ranking.rrf_k"},
      {USER, "\nleave_out = []", ":2: there is no setting leave_out. Did you mean index.leave_out"},
      {USER, "[ranking.wieghts]\nname = 1",
       ":1: there is no setting ranking.wieghts. Did you mean ranking.weights"},
      {USER, "index = 3", ":1: index must be a table, [index]"},
      {USER, "[[index]]\nleave_out = []", ":1: index must be a table, [index]"},
      {USER, "\"a\\u001b\\nb\" = 1", ":1: there is no setting a\uFFFD\uFFFDb. velmora config"},
      {USER, "x = 1\n[index]\nmax_file_size = 'a'", ":1: there is no setting x."},  // the first
      // Types and ranges.
      {USER, "explore.limit = 'ten'", ":1: explore.limit must be a whole number from 1 to 2147483"},
      {USER, "explore.limit = 0", ":1: explore.limit must be a whole number from 1 to 2147483647"},
      {USER, "explore.limit = 1.0", ":1: explore.limit must be a whole number"},
      {USER, "explore.limit = 99999999999999999999", ":1: it is not TOML: "},
      {USER, "ranking.weights.path = -0.5", ":1: ranking.weights.path must be 0, or a number from"},
      {USER, "ranking.weights.path = nan",
       ":1: ranking.weights.path must be 0, or a number from 0.001 to 1000"},
      {USER, "ranking.weights.path = inf",
       ":1: ranking.weights.path must be 0, or a number from 0.001 to 1000"},
      {USER, "ranking.weights.path = 1e-9", ":1: ranking.weights.path must be 0, or a number from"},
      {USER, "rerank.share_source = 1", ":1: rerank.share_source must be true or false"},
      {USER, "model = 1979-05-27", ":1: model must be a text"},
      {USER, "terminal.color = 'blue'", ":1: terminal.color must be auto, always or never, not \""},
      {USER, "index.max_file_size = 16777217", "1 index.max_file_size 16777217\n"},
      {REPOSITORY, "index.max_file_size = 16777217",
       ":1: index.max_file_size must be a whole number from 1 to 16777216"},
      // Globs.
      {USER, "index.leave_out = 'a'", ":1: index.leave_out must be a list of globs, [\"build/\""},
      {USER, "index.leave_out = ['a', 1]", ":1: index.leave_out must be a list of globs"},
      {USER, "index.leave_out = ['']", ":1: index.leave_out has the glob \"\", which is empty"},
      {USER, "index.leave_out = ['a/../../b']",
       ":1: index.leave_out has the glob \"a/../../b\", wh"},
      {USER, "index.leave_out = [\"a\\nb\"]",
       ":1: index.leave_out has the glob \"a\uFFFDb\", which"},
      {USER, "index.leave_out = ['#x']",
       ":1: index.leave_out has the glob \"#x\", which begins wi"},
      {USER, "index.leave_out = ['[a']",
       ":1: index.leave_out has the glob \"[a\", which matches no"},
      {USER, "languages = ['a']", ":1: languages must be a table of globs with their languages"},
      {USER, "[languages]\n'*.x' = 1", ":1: languages must be a table"},
      {USER, "[languages]\n'*.x' = 'cobol'", ":1: languages has no language \"cobol\"; there are "},
      {USER, "[languages]\n'x/' = 'c'", ":1: languages has the glob \"x/\", which is of folders"},
      {USER, "[languages]\n'!x' = 'c'", ":1: languages has the glob \"!x\", which begins with !"},
      // What is no TOML.
      {USER, "a = \n", ":1: it is not TOML: "},
      {USER, "model = 'a\xFF'", ":1: it is not TOML: "},
      {USER, std::string("model = \"\0\"", 11), ":1: it is not TOML: "},
      {USER, "model = 'a'\nmodel = 'b'", ":2: it is not TOML: "},
      {USER, "# é\nmodel = 'é' é", ":2: it is not TOML: "},
      {USER, "é = 1", ":1: it is not TOML: "},
      {USER, "model = 'a'\nindex.leave_out = ['a',}]\n[a]\n", ":2: it is not TOML"},
  };
  const TemporaryFolder folder;
  for (const Case& one : cases) {
    const std::string found = read(folder.write("settings", one.content), one.whose);
    const bool begins = found.starts_with(one.read) && found.empty() == one.read.empty();
    EXPECT_TRUE(begins) << one.content << "\nsays\n" << found << "\nwanted\n" << one.read;
    EXPECT_LT(found.size(), 1000U);
  }
}

// Each is made to cost time, memory or the stack, or to be something else than it seems.
TEST(SettingsFile, BoundsWhatAStrangerCanAsk) {
  const TemporaryFolder folder;
  const auto times = [](std::string_view text, std::size_t count) {
    std::string all;
    while (count-- > 0) all += text;
    return all;
  };
  const auto says = [&](const std::string& content) {
    return read(folder.write("settings", content), Whose::repository);
  };
  EXPECT_EQ(says(times("#\n", LARGEST_FILE / 2)), "");
  EXPECT_EQ(says(times("#\n", LARGEST_FILE / 2) + "#"), ": it is larger than 65536 bytes");
  EXPECT_EQ(says("\n" + times("a.", 600) + "a = 1"), ":2: the line is longer than 1024 bytes");
  // As deep as lines and the parser let it be.
  const std::string deep = times("a.", 500) + "a";
  const std::string nested = "[" + deep + "]\n" + deep + " = [\n{" + deep + " = [\n";
  EXPECT_TRUE(says(nested + "1]}]").starts_with(":1: there is no setting a."));
  EXPECT_TRUE(says(nested + "{a = [1]}]}]").starts_with(":4: it is not TOML: "));
  EXPECT_TRUE(says("a = " + times("[\n", 30'000)).starts_with(":5: it is not TOML: "));
  EXPECT_TRUE(says("'" + times("k", 900) + "' = 1").size() < 300);

  const fs::path file = folder.path() / "settings";
  fs::rename(file, folder.path() / "elsewhere");
  fs::create_symlink("elsewhere", file);
  EXPECT_EQ(read(file, Whose::repository), ": it is no file that can be read, or a link");
  EXPECT_TRUE(read(file, Whose::user).starts_with(":1: there is no setting kkk"));  // one's own may
  fs::remove(file);
  EXPECT_EQ(read(file, Whose::repository), "");
  ASSERT_EQ(::mkfifo(file.c_str(), 0600), 0);
  EXPECT_EQ(read(file, Whose::repository), ": it is no file that can be read, or a link");
}

}  // namespace
}  // namespace velmora::host::settings
