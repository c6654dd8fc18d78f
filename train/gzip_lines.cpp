#include "gzip_lines.h"

#include <zlib.h>

#include <array>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>

namespace velmora::train {
namespace {

struct Closer {
  void operator()(gzFile file) const noexcept { gzclose(file); }
};
using File = std::unique_ptr<std::remove_pointer_t<gzFile>, Closer>;

[[noreturn]] void fail(const std::filesystem::path& file, const std::string& what) {
  throw std::runtime_error(file.string() + ": " + what);
}

}  // namespace

void read_gzip_lines(const std::filesystem::path& file,
                     const std::function<void(std::string_view, std::size_t)>& take) {
  const File in(gzopen(file.c_str(), "rb"));
  if (!in) fail(file, "cannot be opened");
  std::string line;
  std::array<char, 65536> buffer;
  std::size_t number = 0;
  const auto take_line = [&] {
    ++number;
    try {
      take(line, number);
    } catch (const std::exception& error) {
      fail(file, "line " + std::to_string(number) + " " + error.what());
    }
    line.clear();
  };
  while (true) {
    const int count = gzread(in.get(), buffer.data(), static_cast<unsigned>(buffer.size()));
    if (count < 0) fail(file, "is damaged or cannot be read");
    if (count == 0) break;
    std::string_view rest(buffer.data(), static_cast<std::size_t>(count));
    for (std::size_t end = rest.find('\n'); end != rest.npos; end = rest.find('\n')) {
      line.append(rest.substr(0, end));
      take_line();
      rest.remove_prefix(end + 1);
    }
    line.append(rest);
  }
  // A gzip file that is cut short ends quietly.
  int code = Z_OK;
  gzerror(in.get(), &code);
  if (code != Z_OK) fail(file, "is cut short");
  if (!line.empty()) take_line();
}

}  // namespace velmora::train
