// A folder for one test, removed with everything in it.
#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>

namespace velmora::host::test {

class TemporaryFolder {
 public:
  TemporaryFolder() {
    if (mkdtemp(path_.data()) == nullptr) throw std::runtime_error("cannot make " + path_);
  }
  TemporaryFolder(TemporaryFolder&&) = delete;
  ~TemporaryFolder() { std::filesystem::remove_all(path_); }

  [[nodiscard]] std::filesystem::path path() const { return path_; }

  // Writes a file, and the folders above it. Returns its path.
  std::filesystem::path write(std::string_view name, std::string_view content) const {
    const std::filesystem::path file = path() / name;
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << content;
    return file;
  }

 private:
  std::string path_ = std::filesystem::temp_directory_path() / "velmora-test-XXXXXX";
};

}  // namespace velmora::host::test
