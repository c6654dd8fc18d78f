#include "indexing/parse_worker.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "indexing/extract.h"
#include "support/hostile_sources.h"
#include "support/temporary_folder.h"
#include "velmora/host/indexing/languages.h"
#include "velmora/host/indexing/repository_scan.h"

namespace velmora::host::indexing {
namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;
using test::TemporaryFolder;

constexpr std::size_t MEBIBYTE = std::size_t{1024} * 1024;

// Symbols by file, or the reason why there are none.
std::map<std::string, std::string> scanned(RepositoryScan& scan) {
  std::map<std::string, std::string> files;
  while (const auto scanned = scan.next()) {
    std::string& names = files[scanned->file.path] = scanned->file.skipped;
    for (const index::Symbol& symbol : scanned->symbols) names += symbol.name + ' ';
  }
  return files;
}

// The processes that this thread started and that are not waited for yet.
std::vector<pid_t> children_of_this_thread() {
  std::ifstream list("/proc/thread-self/children");
  std::vector<pid_t> children;
  for (pid_t child = 0; list >> child;) children.push_back(child);
  return children;
}

TEST(ParseWorker, HostileFilesCostThemselvesAlone) {
  const TemporaryFolder folder;
  std::map<std::string, std::string> honest;
  std::size_t number = 0;
  for (const test::HostileSource& source : test::hostile_sources()) {
    const std::string name = std::to_string(1000 + number++);
    folder.write(name + source.file(), source.text(10'000));
    folder.write(name + "honest.py", "def f" + name + "(): pass\n");
    honest[name + "honest.py"] = "f" + name + " ";
  }
  RepositoryScan scan(folder.path(), {.threads = 2,
                                      .limits = {.time = milliseconds(200),
                                                 .longest = milliseconds(200),
                                                 .memory = 64 * MEBIBYTE}});
  std::size_t skipped = 0;
  for (const auto& [file, found] : scanned(scan)) {
    const auto expected = honest.find(file);
    if (expected != honest.end()) {
      EXPECT_EQ(found, expected->second) << file;
    }
    // Nothing brings a parser down any more that is known to have done so.
    EXPECT_NE(found, "it brings the parser down") << file;
    if (is_parse_verdict(found)) ++skipped;
  }
  EXPECT_EQ(scan.files_done(), 2 * number);
  EXPECT_GT(skipped, 0U);
}

// Takes gigabytes where there are some.
const test::HostileSource GREEDY{"words", ".java", "", "%w(", ""};

TEST(ParseWorker, EndsByItsLimits) {
  constexpr auto AMPLE = std::chrono::minutes(10);
  const ParseLimits ample{.time = AMPLE, .longest = AMPLE};
  const ParseLimits brief{.longest = milliseconds(20), .memory = 4096 * MEBIBYTE};
  const ParseLimits small{.time = AMPLE, .longest = AMPLE, .memory = 32 * MEBIBYTE};
  const auto skipped = [](const ParseLimits& limits, std::string_view language,
                          const std::string& source) {
    return ParseWorker({}, limits).parse({language, false, "a", source}).skipped;
  };
  EXPECT_EQ(skipped(brief, "java", GREEDY.text(20'000)), "parsing it takes too long");
  EXPECT_EQ(skipped(small, "java", GREEDY.text(20'000)), "parsing it takes too much memory");
  // Names within names: functions of which each repeats those of all classes around it.
  std::string nested;
  for (int i = 0; i < 60; ++i) nested += "class Abcdefghijkl {\n";
  for (int i = 0; i < 2000; ++i) nested += "int f() {}\n";
  nested.append(60, '}');
  EXPECT_EQ(skipped(ample, "java", nested), "its symbols take too much room");
  EXPECT_EQ(skipped(ample, "java", "class A {}"), "");
}

// One process after the other parses as one function does, and holds nothing of the files before.
TEST(ParseWorker, AnswersAsTheFunctionDoes) {
  const test::HostileSource large{"", "", "", "def f(a):\n  '''text'''\n", ""};
  const ParseLimits ample = {.time = std::chrono::minutes(10),
                             .longest = std::chrono::minutes(10),
                             .memory = 48 * MEBIBYTE};
  ParseWorker worker({}, ample);
  for (const std::string& source : {large.text(MEBIBYTE / 4), std::string("def g(): pass"),
                                    large.text(MEBIBYTE / 4), std::string()}) {
    const Parsed parsed = worker.parse({"python", false, "a.py", source});
    const auto expected = extract_symbols("python", "a.py", source);
    ASSERT_EQ(parsed.skipped, "");
    ASSERT_EQ(parsed.symbols.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
      const index::Symbol &a = parsed.symbols[i], &b = expected[i];
      ASSERT_EQ(std::tie(a.fqn, a.name, a.kind, a.language, a.path, a.start_line, a.end_line,
                         a.signature, a.docstring, a.words),
                std::tie(b.fqn, b.name, b.kind, b.language, b.path, b.start_line, b.end_line,
                         b.signature, b.docstring, b.words));
    }
  }
  EXPECT_EQ(children_of_this_thread().size(), 1U);
}

TEST(ParseWorker, ADeadOneCostsOneFile) {
  ParseWorker worker({}, {});
  const auto parse = [&] { return worker.parse({"python", false, "a.py", "def f(): pass"}); };
  EXPECT_EQ(parse().symbols.size(), 1U);
  const pid_t process = children_of_this_thread().at(0);
  ::kill(process, SIGKILL);
  siginfo_t end{};
  ASSERT_EQ(::waitid(P_PID, static_cast<id_t>(process), &end, WEXITED | WNOWAIT), 0);
  const Parsed killed = parse();
  EXPECT_EQ(killed.skipped, "its parser was killed");
  EXPECT_TRUE(killed.passing);
  EXPECT_EQ(parse().symbols.size(), 1U);
}

// Programs that are not ours, or were taken over by what they read.
TEST(ParseWorker, BelievesNoAnswer) {
  const TemporaryFolder folder;
  const auto program = [&](const std::string& script) {
    const fs::path file = folder.write("worker", "#!/bin/sh\nexec 1>&0 2> /dev/null\n" + script);
    fs::permissions(file, fs::perms::owner_all);
    return file;
  };
  const std::string hello = "printf " + std::string(EXTRACTION_VERSION) + "\n";
  const std::string source(300'000, '\n');
  const auto reason = [&](const std::string& script) -> std::string {
    try {
      ParseWorker worker(script.empty() ? folder.path() / "none" : program(script), {});
      const Parsed parsed = worker.parse({"python", false, "a.py", source});
      return parsed.skipped.empty() ? "believed" : parsed.skipped;
    } catch (const std::runtime_error& error) {
      return error.what();
    }
  };
  EXPECT_NE(reason("").find("none cannot be run"), std::string::npos);
  for (const char* other : {"exit 0", "printf 0123456789abcdef; cat"}) {
    EXPECT_NE(reason(other).find("is broken, or of another build"), std::string::npos) << other;
  }
  // The length of an answer, and that of the name of its language, are eight bytes each.
  const auto answer = [&](const char* length, const char* text) {
    return reason(hello + "head -c 300000 > /dev/null; printf '" + length +
                  "\\0\\0\\0\\0\\0\\0\\0" + text + "'; cat");
  };
  constexpr const char* CRASH = "it brings the parser down";
  EXPECT_EQ(reason(hello + "cat"), CRASH) << "speaks before it has read";
  EXPECT_EQ(reason(hello + "exit 0"), CRASH);
  EXPECT_EQ(answer("\\16", "\\6\\0\\0\\0\\0\\0\\0\\0python"), "believed");
  EXPECT_EQ(answer("\\16", "\\7\\0\\0\\0\\0\\0\\0\\0python"), CRASH);
  EXPECT_EQ(answer("\\14", "\\4\\0\\0\\0\\0\\0\\0\\0java"), CRASH);
  EXPECT_EQ(answer("\\17", "\\6\\0\\0\\0\\0\\0\\0\\0python!"), CRASH) << "half a symbol";
  EXPECT_EQ(
      reason(hello + "head -c 300000 > /dev/null; printf '\\377\\377\\377\\377\\0\\0\\0\\0'; cat"),
      CRASH)
      << "longer than any answer";
}

// What parsing took too much for is known, as what was parsed is, until someone says otherwise.
TEST(ParseWorker, TriesAgainWhenTold) {
  const TemporaryFolder folder;
  folder.write(GREEDY.file(), GREEDY.text(20'000));
  ScanOptions options{.limits = {.time = std::chrono::minutes(1),
                                 .longest = std::chrono::minutes(1),
                                 .memory = 32 * MEBIBYTE}};
  const auto scan = [&] { return RepositoryScan(folder.path(), options).next().value(); };
  const ScannedFile first = scan();
  EXPECT_EQ(first.file.skipped, "parsing it takes too much memory");
  const std::map<std::string, index::FileRecord> known = {{GREEDY.file(), first.file}};
  options.known = &known;
  EXPECT_NE(scan().state, ScannedFile::State::read);
  options.retry = true;
  EXPECT_EQ(scan().state, ScannedFile::State::read);
}

}  // namespace
}  // namespace velmora::host::indexing
