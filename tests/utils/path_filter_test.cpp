#include "velmora/utils/path_filter.h"

#include <gtest/gtest.h>

namespace velmora::utils {
namespace {

TEST(PathFilter, TellsTestFilesByTheirPath) {
  for (const char* path : {"tests/a.py",
                           "src/test/java/A.java",
                           "src/__tests__/a.ts",
                           "E2E/x.go",
                           "Spec/a.rb",
                           "test_a.py",
                           "a_test.go",
                           "a_tests.py",
                           "a_spec.rb",
                           "a.spec.ts",
                           "a.test.js",
                           "a.tests.js",
                           "FooTest.java",
                           "Foo2Tests.cs",
                           "fooSpec.scala",
                           "conftest.py",
                           "CONFTEST.PY",
                           "Test_x.c",
                           "pkg/testdata/x.c",
                           "_test.go",
                           ".spec"}) {
    EXPECT_TRUE(is_test_path(path)) << path;
  }
  for (const char* path :
       {"latest.py", "contest.c", "TestRunner.java", "attestation/a.go", "Latest.java", "Test.java",
        "src/tests", "HTTPTest.java", "aTest/b.java", "", "/", "testing.py", "my_tests/a.py",
        "spec.rb", "x.specs.ts", "a.test", "src/.test_rc"}) {
    EXPECT_FALSE(is_test_path(path)) << path;
  }
}

}  // namespace
}  // namespace velmora::utils
