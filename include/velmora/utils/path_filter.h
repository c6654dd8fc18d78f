// Which files hold tests.
#pragma once

#include <string_view>

#include "velmora/export.h"

namespace velmora::utils {

// Whether the file at `path` (relative to the repository root, forward slashes) holds tests, by its
// path alone:
//
// - a folder of the path, in lower case, is test, tests, testing, __tests__, spec, specs,
//   testdata or e2e; or
// - the file's stem (its name without the last extension; a leading dot begins no extension), in
//   lower case, is conftest, starts with "test_", or ends with "_test", "_tests", "_spec", ".test",
//   ".tests" or ".spec"; or
// - the stem ends with "Test", "Tests" or "Spec" directly after an ASCII lower-case letter or a
//   digit.
//
// So tests/a.py, a_test.go and FooTest.java hold tests; latest.py and TestRunner.java do not. Any
// thread may call it; it throws nothing but std::bad_alloc.
[[nodiscard]] VELMORA_API bool is_test_path(std::string_view path);

}  // namespace velmora::utils
