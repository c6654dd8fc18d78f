#include "indexing/embedded_source.h"

#include <gtest/gtest.h>

#include <iterator>
#include <random>
#include <string>

#include "indexing/notebook.h"

namespace velmora::host::indexing {
namespace {

// The text of a component, its blanks folded.
std::string script(const std::string& content) {
  const EmbeddedSource found = *embedded_source("a.vue", "javascript", content);
  std::string folded;
  for (const char c : found.text) {
    if (c != ' ' || (!folded.empty() && folded.back() != ' ')) folded += c;
  }
  return folded.substr(0, folded.find_last_not_of(' ') + 1);
}

TEST(EmbeddedSource, FindsTheScriptsOfComponents) {
  struct Case {
    const char* content;
    const char* text;
  };
  for (const Case& one : {
           Case{"", ""},
           Case{"text < 1", ""},
           Case{"<script>a</script>b<script>c</script>", "a c"},
           Case{"<SCRIPT >a</Script >", "a"},
           Case{"<script lang='x>' a=\">\" b = '>'>a</script>", ""},
           Case{"<script a='>' b>a</script>", "a"},
           Case{"<script type=module src=x>a</script>", "a"},
           Case{"<script type=\"text/x-template\">a</script>", ""},
           Case{"<script src=x />a<script>b", "b"},
           Case{"<scripted>a</scripted>", ""},
           Case{"<!-- <script>a</script> --><script>b < c</script>", "b < c"},
           Case{"<style><script>a</script></style>", ""},
           Case{"<script>a</script", "a"},
           Case{"<script", ""},
           Case{"<script lang", ""},
           Case{"<script lang=", ""},
           Case{"<script lang='ts", ""},
           Case{"<!-- <script>a", ""},
       }) {
    EXPECT_EQ(script(one.content), one.text) << one.content;
  }
  EXPECT_EQ(embedded_source("a.svelte", "javascript", "<script lang=ts></script>")->language,
            "typescript");
  EXPECT_FALSE(embedded_source("a.js", "javascript", "<script>a</script>"));
}

TEST(EmbeddedSource, KeepsEveryByteOfAComponentInItsPlace) {
  std::mt19937 random(7);
  const std::string pieces[] = {"<script",  "</script>", ">",  "<!--", "-->", "<style>", "</style>",
                                " lang=ts", "\"",        "\n", "code", "/",   "=",       "'"};
  for (int round = 0; round < 2'000; ++round) {
    std::string content;
    for (auto i = random() % 30; i > 0; --i) content += pieces[random() % std::size(pieces)];
    const std::string text = embedded_source("a.vue", "javascript", content)->text;
    ASSERT_EQ(text.size(), content.size()) << content;
    for (std::size_t i = 0; i < text.size(); ++i) {
      ASSERT_TRUE(text[i] == content[i] || (text[i] == ' ' && content[i] != '\n')) << content;
    }
  }
}

TEST(EmbeddedSource, ReadsNotebooksLineByLine) {
  const auto notebook = [](const std::string& cells, const std::string& rest = "") {
    return "{\"cells\": [" + cells + "]" + rest + "}";
  };
  const auto read = [](const std::string& content) {
    const EmbeddedSource found = *embedded_source("a.ipynb", "python", content);
    EXPECT_LE(found.text.size(), content.size());
    return std::string(found.language) + ": " +
           std::string(found.fault.empty() ? found.text : found.fault);
  };
  const std::string no_notebook = ": it is no notebook that can be read";
  const std::string deep(DEEPEST_NOTEBOOK - 1, '[');
  struct Case {
    std::string content;
    std::string found;
  };
  for (const Case& one : {
           Case{notebook(""), "python: "},
           // What says that it is code may come last.
           Case{notebook("{\"source\":\n[\n\"a\\n\",\n\n\"\\u0022b\"\n], \"cell_type\":\"code\"}"),
                "python: \n\na\n\n\"b"},
           Case{notebook("{\"cell_type\":\"code\",\"source\":\"a\"}"), "python: a"},
           Case{notebook("{\"cell_type\":\"raw\",\"source\":\"a\"}"), "python: "},
           Case{notebook("{\"cell_type\":\"code\",\"outputs\":[{\"source\":\"a\"}]}"), "python: "},
           Case{notebook("", ",\n\"metadata\": {\"language_info\": {\"name\": \"C++17\"}}"),
                "cpp: "},
           Case{notebook("", ",\"metadata\": {\"kernelspec\": {\"language\": \"bash\"}}"),
                "bash: "},
           Case{notebook("", ",\"metadata\": {\"language_info\": {\"name\": \"sage\"}}"),
                ": its code is of a language that is not indexed"},
           Case{notebook("{\"cell_type\":\"code\",\"source\":\"a\\nb\"}"),
                ": it has several lines of code on one line: Jupyter saves a line a line"},
           Case{notebook("{\"cell_type\":\"code\",\"source\":[\"a\", \"b\"]}"),
                ": it has several lines of code on one line: Jupyter saves a line a line"},
           Case{"", no_notebook},
           Case{"[]", no_notebook},
           Case{"{}", no_notebook},
           Case{"\"cells\"", no_notebook},
           Case{notebook("") + "x", no_notebook},
           Case{notebook("\"\xFF\""), no_notebook},
           Case{"{\"cells\": " + deep, no_notebook},
           Case{std::string(1'000'000, '['), no_notebook},
           Case{notebook("", ",\"a\": " + deep + std::string(DEEPEST_NOTEBOOK - 1, ']')),
                "python: "},
       }) {
    EXPECT_EQ(read(one.content), one.found) << one.content.substr(0, 80);
  }
}

}  // namespace
}  // namespace velmora::host::indexing
