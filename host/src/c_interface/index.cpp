// velmora_index_open, _describe and _close.
#include "velmora/host/index/index.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <utility>

#include "c_interface/arguments.h"
#include "c_interface/handles.h"
#include "c_interface/message.h"
#include "index/catalog.h"
#include "index/index_errors.h"
#include "upkeep/index_place.h"
#include "velmora/host/index/index_folder.h"

namespace velmora::host::c_interface {
namespace {

namespace fs = std::filesystem;

// The index file that `path` means, absolute.
fs::path index_file(const fs::path& path) {
  if (!fs::exists(path)) throw index::NoIndexError(path.string() + " does not exist");
  if (!fs::is_directory(path)) return fs::absolute(path).lexically_normal();
  if (std::optional<fs::path> nearest = upkeep::nearest_index(path)) return *std::move(nearest);
  throw index::no_index(upkeep::index_of_repository(upkeep::folder_to_index(path)));
}

velmora_index* open(const fs::path& path) {
  const fs::path file = index_file(path);
  return new velmora_index{index::Index::open(file), file, index::repository_of(file)};
}

velmora_index_info info_of(velmora_index& handle) {
  velmora_index_info info = VELMORA_INIT(velmora_index_info);
  info.file = string_of(handle.file.native());
  info.made_here = handle.index->made_here();
  if (!handle.root.empty()) info.root = string_of(handle.root.native());
  handle.index->read([&](const index::Catalog& catalog) {
    const index::Summary summary = catalog.summary();
    info.symbols = summary.symbols;
    info.files = summary.files;
  });
  return info;
}

}  // namespace
}  // namespace velmora::host::c_interface

namespace c_interface = velmora::host::c_interface;

velmora_code velmora_index_open(velmora_string path, velmora_index** index) noexcept {
  return c_interface::guarded([&] {
    c_interface::required(index, "index") = nullptr;
    *index = c_interface::open(c_interface::required_path(path, "path"));
  });
}

velmora_code velmora_index_describe(velmora_index* index, velmora_index_info* info) noexcept {
  return c_interface::guarded([&] {
    c_interface::require(index != nullptr, "index");
    c_interface::require(info != nullptr, "info");
    c_interface::hand_out(c_interface::info_of(*index), info, "info");
  });
}

void velmora_index_close(velmora_index* index) noexcept { delete index; }
