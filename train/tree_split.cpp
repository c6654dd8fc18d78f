#include "tree_split.h"

#include <algorithm>
#include <string>
#include <system_error>

#include "tree.h"
#include "velmora/utils/string_set.h"

namespace velmora::train {
namespace {

// Of many languages, and none of them among the pairs of the embedding model.
constexpr auto DECISION_OWNERS = utils::string_set(
    "actix", "date-fns", "fastify", "getsentry", "go-gorm", "guzzle", "libarchive", "mobxjs",
    "puma", "python-poetry", "rack", "rayon-rs", "ruby-grape", "rustls", "scala-steward-org",
    "scalameta", "servo", "sharkdp", "syncthing", "systemd");

// None of these was ever learned from, the pairs of the embedding model included.
constexpr auto VALIDATION_OWNERS = utils::string_set(
    "Alamofire", "DapperLib", "Shopify", "acmesh-official", "chartjs", "curl", "danmar", "eslint",
    "etcd-io", "fluent", "go-task", "helix-editor", "http4s", "jj-vcs", "luarocks", "nghttp2",
    "nvim-telescope", "pallets", "pytest-dev", "rclone", "rspec", "sass", "scrapy", "serilog",
    "square", "thephpleague", "tokio-rs", "twigphp", "typelevel");

constexpr auto TEST_OWNERS = utils::string_set(
    "AutoMapper", "Automattic", "FluentValidation", "JamesNK", "Seldaek", "alacritty", "awesomeWM",
    "capnproto", "cli", "composer", "detekt", "diesel-rs", "i3", "jeremyevans", "jhy",
    "keepassxreboot", "koreader", "libgit2", "mitmproxy", "mochajs", "nats-io", "ninja-build",
    "nushell", "nvm-sh", "playframework", "preactjs", "pydantic", "restic", "rubocop", "sbt",
    "sebastianbergmann", "sphinx-doc", "tmux", "vapor");

}  // namespace

TreeSet tree_set(std::string_view repository) {
  const std::string_view owner = repository.substr(0, repository.find('/'));
  if (VALIDATION_OWNERS.contains(owner)) return TreeSet::validation;
  if (TEST_OWNERS.contains(owner)) return TreeSet::test;
  return DECISION_OWNERS.contains(owner) ? TreeSet::decision : TreeSet::training;
}

std::span<const std::vector<std::string_view>> owner_families() {
  static const std::vector<std::vector<std::string_view>> families = {
      {"google", "golang", "grpc", "catchorg", "gabime", "nlohmann", "apache", "mapnik",
       "ClickHouse", "yhirose", "lz4", "facebook", "jestjs", "jemalloc", "haproxy"},
      {"Kotlin", "JetBrains", "ktorio"},
      {"Textualize", "pypa"},
      {"dotnet", "restsharp", "NLog"},
      {"Seldaek", "composer"},
      {"playframework", "sbt"},
      {"typelevel", "http4s"},
      {"i3", "tmux"},
      {"vuejs", "vitejs"},
      {"spf13", "gohugoio"},
      {"hyperium", "seanmonstar"},
  };
  return families;
}

std::vector<std::filesystem::path> tree_files(const std::filesystem::path& folder, TreeSet set) {
  std::error_code unreadable;
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(folder, unreadable)) {
    const std::filesystem::path& file = entry.path();
    if (file.filename().string().find(".jsonl") == std::string::npos) continue;
    if (tree_set(tree_repository_of(file)) == set) files.push_back(file);
  }
  std::sort(files.begin(), files.end());
  return files;
}

std::string_view name_of(TreeSet set) {
  switch (set) {
    case TreeSet::training:
      return "training";
    case TreeSet::decision:
      return "decision";
    case TreeSet::validation:
      return "validation";
    case TreeSet::test:
      break;
  }
  return "test";
}

}  // namespace velmora::train
