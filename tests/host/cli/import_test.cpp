#include <gtest/gtest.h>

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
  EXPECT_EQ(run_velmora({"import", "--index", file}).output,
            "Imported 0 symbols into " + file + "\n");
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
  const std::vector<std::pair<std::string, std::string>> cases = {
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
  };
  for (const auto& [line, message] : cases) {
    const auto result = run_velmora({"import", "--index", file}, row() + "\n" + line);
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
