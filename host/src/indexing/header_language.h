// Which language a .h file is likely to be: its name does not tell, those of the files around it
// do.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <span>
#include <string>
#include <string_view>

namespace velmora::host::indexing {

// Knows the C and C++ sources of a repository. Any thread may ask.
class HeaderLanguage {
 public:
  // `told` are languages that files have whatever their names tell.
  HeaderLanguage(std::span<const std::string> files,
                 const std::map<std::string, std::string_view>& told);

  // Whether most sources in the nearest folder around the header that holds any, in its subfolders
  // too, are C++.
  [[nodiscard]] bool among_cpp(std::string_view path) const;

  // Whether there is any such source.
  [[nodiscard]] bool any() const { return !folders_.empty(); }

 private:
  struct Sources {
    std::size_t c = 0;
    std::size_t cpp = 0;
  };
  std::map<std::string, Sources, std::less<>> folders_;
};

}  // namespace velmora::host::indexing
