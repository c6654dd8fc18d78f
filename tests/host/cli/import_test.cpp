#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/process.h"
#include "support/temporary_folder.h"
#include "velmora/host/index/index.h"

namespace velmora::host::cli {
namespace {

using test::run_velmora;
using test::TemporaryFolder;

// A row with every field that is needed, and `more` behind them.
std::string row(const std::string& more = "") {
  return R"({"fqn":"a.b","name":"b","kind":"function","language":"python","path":"a.py",)"
         R"("start_line":1,"end_line":2)" +
         more + "}\n";
}

TEST(Import, TakesRowsFromAFileOrStandardInput) {
  const TemporaryFolder folder;
  const auto rows =
      folder.write("rows.jsonl", row() + " \t\r\n\n" + row(R"(,"id":-7,"docstring":null)"));
  const std::string file = folder.path() / "deep" / "index.db";
  const auto first = run_velmora({"import", "--index", file, rows});
  EXPECT_EQ(first.exit_code, 0);
  EXPECT_EQ(first.output, "Imported 2 symbols into " + file + "\n");
  const auto index = index::Index::open(file);
  EXPECT_EQ(index->get_symbols_by_ids(std::vector<models::SymbolId>{1, -7}).size(), 2U);
  EXPECT_EQ(run_velmora({"import", "--index", file, "-"}, row()).output,
            "Imported 1 symbol into " + file + "\n");
  EXPECT_EQ(index->get_symbols_by_ids(std::vector<models::SymbolId>{1, -7}).size(), 1U);
  EXPECT_EQ(run_velmora({"import", "--index", file}, "\n").errors,
            "velmora: The input has no row. Use --allow-empty if the index is to have none\n");
  EXPECT_EQ(index->get_symbols_by_ids(std::vector<models::SymbolId>{1}).size(), 1U);
  EXPECT_EQ(run_velmora({"import", "--index", file, "--allow-empty"}).output,
            "Imported 0 symbols into " + file + "\n");
}

// Five good rows, and then an error in place of the end.
TEST(Import, AnInputThatBreaksOffChangesNothing) {
  const TemporaryFolder folder;
  const std::string file = folder.path() / "index.db";
  ASSERT_EQ(run_velmora({"import", "--index", file}, row()).exit_code, 0);
  const auto index = index::Index::open(file);
  const auto fingerprint = index->retrieval_fingerprint();
  EXPECT_EQ(run_velmora({"import", "--index", file, folder.path()}).errors,
            "velmora: " + folder.path().string() + " cannot be read: Is a directory\n");

  // As a connection that is reset: the peer went with unread data.
  const auto reset = [](int& ours) {
    int ends[2];
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    ours = ends[0];
    const std::string rows = row() + row() + row() + row() + row();
    ASSERT_EQ(::send(ends[1], rows.data(), rows.size(), 0), static_cast<ssize_t>(rows.size()));
    ASSERT_EQ(::send(ours, "x", 1, 0), 1);
    ::close(ends[1]);
  };
  for (const bool closed : {false, true}) {
    int input = -1;
    if (!closed) reset(input);
    const pid_t child = ::fork();
    if (child == 0) {
      closed ? ::close(STDIN_FILENO) : ::dup2(input, STDIN_FILENO);
      ::execl(VELMORA_PROGRAM, VELMORA_PROGRAM, "import", "--index", file.c_str(), nullptr);
      ::_exit(127);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    ::close(input);
    EXPECT_EQ(WEXITSTATUS(status), 3) << closed;
    EXPECT_EQ(index->retrieval_fingerprint(), fingerprint) << closed;
  }
}

TEST(Import, RefusesABadLineAndKeepsTheIndex) {
  const TemporaryFolder folder;
  const std::string file = folder.path() / "index.db";
  const std::string missing = folder.path() / "missing.db";
  ASSERT_EQ(run_velmora({"import", "--index", file}, row(R"(,"id":3)")).exit_code, 0);
  const auto index = index::Index::open(file);
  const auto fingerprint = index->retrieval_fingerprint();

  const std::string integer = " must be an integer of at most 64 bits";
  const std::string path = R"("path" must be relative to the root, like "src/main.py")";
  const auto with_path = [](const std::string& value) {
    return row().replace(row().find("a.py"), 4, value);
  };
  const auto with_vector = [](const std::string& values) {
    return row(R"(,"embeddings":[{"model":"m",)" + values + "}]");
  };
  const auto with_lines = [](const std::string& lines) {
    return row().replace(row().find(R"("start_line")"), 27, lines);
  };
  const std::string nested(1'000'000, '[');
  const std::vector<std::pair<std::string, std::string>> cases = {
      {nested, "this is not JSON: column "},
      {nested + std::string(nested.size(), ']'), "this is not a JSON object"},
      {row().substr(0, row().size() - 1) + std::string(1, '\0') + "x\n",
       "this is not JSON: it holds"},
      {row().substr(0, row().size() - 1) + " {}\n", "this is not JSON: column "},
      {with_path("a\\u0000.py"), R"("path" must not hold a NUL)"},
      {row(R"(,"docstring":"a\u0000")"), R"("docstring" must not hold a NUL)"},
      {row(R"(,"words":["a",1])"), R"("words" must be a list of strings)"},
      {row(R"(,"words":["a\u0000"])"), R"("words" must not hold a NUL)"},
      {with_lines(R"("start_line":-1,"end_line":2)"), R"("start_line" must not be negative)"},
      {with_lines(R"("start_line":3,"end_line":2)"), R"("end_line" must not be before)"},
      {"{\"fqn\":\"\xC3(\"}", "this is not JSON: column "},
      {row(R"(,"id":1e400)"), "this is not JSON: number overflow"},
      {"[1]", "this is not a JSON object"},
      {R"({"fqn":"a.b","name":null})", R"("name" is missing)"},
      {R"({"fqn":3})", R"("fqn" must be a string)"},
      {row(R"(,"docstrings":"x")"), R"("docstrings" is not a field that is known here)"},
      {row(R"(,"id":1.0)"), "\"id\"" + integer},
      {row(R"(,"id":9223372036854775808)"), "\"id\"" + integer},
      {row(R"(,"id":1)"), "the id 1 is repeated"},
      {with_path("/a.py"), path},
      {with_path("a/../b.py"), path},
      {with_path(""), path},
      {row(R"(,"embeddings":{})"), R"("embeddings" must be a list)"},
      {with_vector(R"("values":null)"), R"("values" is missing)"},
      {with_vector(R"("values":[1e39])"), R"("values" must be a list of finite 32-bit numbers)"},
      {with_vector(R"("values":[0,0])"), "the vector of model m is all zero"},
      {row(R"(,"embeddings":[{"model":"first","values":[1]}])"),
       "the vector of model first has 1 number, where the earlier ones have 2"},
  };
  const std::string first = row(R"(,"embeddings":[{"model":"first","values":[1,2]}])");
  const auto too_long =
      run_velmora({"import", "--index", file}, first + std::string((4U << 20) + 1, ' '));
  EXPECT_EQ(too_long.errors, "velmora: line 2 is longer than 4194304 bytes\n");
  for (const auto& [line, message] : cases) {
    const auto result = run_velmora({"import", "--index", file}, first + "\n" + line);
    EXPECT_EQ(result.exit_code, 3) << line;
    EXPECT_EQ(result.errors.find("velmora: line 3: " + message), 0U) << result.errors;
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(index->retrieval_fingerprint(), fingerprint) << line;
  }
  EXPECT_EQ(run_velmora({"import", "--index", missing}, row() + "{}").exit_code, 3);
  EXPECT_EQ(run_velmora({"import", "--index", missing, "/no/such"}).errors,
            "velmora: /no/such cannot be opened: No such file or directory\n");
  EXPECT_FALSE(std::filesystem::exists(missing));
}

}  // namespace
}  // namespace velmora::host::cli
