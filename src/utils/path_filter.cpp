#include "velmora/utils/path_filter.h"

#include <array>
#include <string>

#include "utils/unicode.h"
#include "velmora/utils/string_set.h"

namespace velmora::utils {
namespace {

constexpr auto TEST_FOLDERS =
    string_set("test", "tests", "testing", "__tests__", "spec", "specs", "testdata", "e2e");
constexpr std::array<std::string_view, 6> TEST_STEM_ENDS = {"_test", "_tests", "_spec",
                                                            ".test", ".tests", ".spec"};
constexpr std::array<std::string_view, 3> TEST_NAME_ENDS = {"Test", "Tests", "Spec"};

bool in_test_folder(std::string_view folders) {
  while (!folders.empty()) {
    const std::string_view folder = folders.substr(0, folders.find('/'));
    if (TEST_FOLDERS.contains(lowercase(folder))) return true;
    folders.remove_prefix(std::min(folders.size(), folder.size() + 1));
  }
  return false;
}

bool is_test_stem(std::string_view stem) {
  const std::string lower = lowercase(stem);
  if (lower == "conftest" || lower.starts_with("test_")) return true;
  for (const std::string_view end : TEST_STEM_ENDS) {
    if (lower.ends_with(end)) return true;
  }
  for (const std::string_view end : TEST_NAME_ENDS) {
    if (!stem.ends_with(end) || stem.size() == end.size()) continue;
    const char before = stem[stem.size() - end.size() - 1];
    if ((before >= 'a' && before <= 'z') || (before >= '0' && before <= '9')) return true;
  }
  return false;
}

}  // namespace

bool is_test_path(std::string_view path) {
  const std::size_t slash = path.rfind('/');
  std::string_view stem = path;
  if (slash != std::string_view::npos) {
    if (in_test_folder(path.substr(0, slash))) return true;
    stem.remove_prefix(slash + 1);
  }
  const std::size_t dot = stem.rfind('.');
  if (dot != std::string_view::npos && dot != 0) stem = stem.substr(0, dot);
  return is_test_stem(stem);
}

}  // namespace velmora::utils
