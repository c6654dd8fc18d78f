// Removes the index of a repository.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "velmora/host/index/index_folder.h"

namespace velmora::host::index {

// The folder `.velmora` of a repository, looked at before it goes. It may have come with a clone:
// only regular files of the names that this program gives are removed, no link is followed, and a
// folder whose index.db says that it is something else is left alone.
class Removal {
 public:
  struct File {
    std::string name;
    std::int64_t size = 0;  // in bytes
  };

  // Looks at the folder in `repository`; nothing when there is none, or nothing in it. Throws
  // IndexError when it is no folder, a link, or not one of an index.
  [[nodiscard]] static std::optional<Removal> find(const std::filesystem::path& repository);

  [[nodiscard]] const std::filesystem::path& folder() const { return folder_; }

  // What goes, in the order in which it does.
  [[nodiscard]] const std::vector<File>& files() const { return files_; }

  // What else is in the folder, sorted: it stays, and the folder with it.
  [[nodiscard]] const std::vector<std::string>& others() const { return others_; }

  // Removes the files, and the folder when it is empty then. Throws std::system_error when
  // something cannot be removed.
  void remove() const;

 private:
  Removal(std::filesystem::path folder, OpenFile open)
      : folder_(std::move(folder)), open_(std::move(open)) {}
  void look();

  std::filesystem::path folder_;
  OpenFile open_;
  std::vector<File> files_;
  std::vector<std::string> others_;
};

}  // namespace velmora::host::index
