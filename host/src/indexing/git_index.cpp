// An index is a header, the entries, extensions that tell their size, and a checksum. Numbers are
// big-endian. The names of objects are those of one of two hashes; which one is not written
// anywhere in the file, and with the wrong one the first entries' lengths do not fit.
//
// A split index holds the entries that changed, and in an extension the name of a second file in
// the same form with all the others, and two compressed bitmaps over that file's entries: those
// that are gone, and those that entries without a name, the first of this file, stand for.
#include "indexing/git_index.h"

#include <fcntl.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdint>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "indexing/bounded_file.h"

namespace velmora::host::indexing {
namespace {

constexpr std::size_t LARGEST_INDEX = std::size_t{128} << 20;
constexpr std::size_t MOST_PATH_BYTES = std::size_t{128} << 20;
constexpr std::array<std::size_t, 2> NAME_SIZES = {20, 32};

// The upper bits of a mode, which tell what an entry is.
enum class Type : std::uint32_t { folder = 0x4, file = 0x8, link = 0xA, repository = 0xE };

struct Damaged : std::runtime_error {
  Damaged() : std::runtime_error("damaged") {}
};

void require(bool sound) {
  if (!sound) throw Damaged();
}

class Bytes {
 public:
  explicit Bytes(std::string_view bytes) : rest_(bytes) {}

  [[nodiscard]] std::size_t left() const { return rest_.size(); }
  std::string_view take(std::size_t size) {
    require(size <= rest_.size());
    const std::string_view taken = rest_.substr(0, size);
    rest_.remove_prefix(size);
    return taken;
  }
  std::uint64_t number(std::size_t size) {
    std::uint64_t value = 0;
    for (const char c : take(size)) value = value << 8U | static_cast<unsigned char>(c);
    return value;
  }
  // What stands before the next NUL, which is taken too.
  std::string_view text() {
    const std::size_t end = rest_.find('\0');
    require(end != std::string_view::npos);
    const std::string_view taken = take(end);
    take(1);
    return taken;
  }
  // Seven bits a byte; each further byte adds one, so that no number has two forms.
  std::size_t compressed_number() {
    std::uint64_t byte = number(1);
    std::size_t value = byte & 0x7FU;
    while ((byte & 0x80U) != 0) {
      byte = number(1);
      value = (value + 1) << 7U | (byte & 0x7FU);
      require(value <= PATH_MAX);
    }
    return value;
  }

 private:
  std::string_view rest_;
};

struct Entry {
  std::string path;  // empty: it stands for an entry of the shared index
  Type type;
};

struct Index {
  std::vector<Entry> entries;
  std::string_view link;  // the extension of a split index
};

bool is_sound_path(std::string_view path) {
  if (path.size() >= PATH_MAX) return false;
  while (true) {
    const std::size_t slash = path.find('/');
    const std::string_view part = path.substr(0, slash);
    if (part.empty() || part == "." || part == ".." || part == ".git") return false;
    if (slash == std::string_view::npos) return true;
    path.remove_prefix(slash + 1);
  }
}

Type type_of(std::uint64_t mode) {
  const Type type{static_cast<std::uint32_t>(mode >> 12U)};
  require(type == Type::folder || type == Type::file || type == Type::link ||
          type == Type::repository);
  return type;
}

// Reads one entry; `before` is the path of the one before it.
Entry read_entry(Bytes& bytes, std::uint64_t version, std::size_t name_size,
                 const std::string& before) {
  constexpr std::uint64_t EXTENDED = 0x4000;
  constexpr std::uint64_t LENGTH = 0xFFF;
  const std::size_t start = bytes.left();
  bytes.take(24);  // times, device, inode
  Entry entry{{}, type_of(bytes.number(4))};
  bytes.take(12 + name_size);  // owner, size, object
  const std::uint64_t flags = bytes.number(2);
  if ((flags & EXTENDED) != 0) {
    require(version >= 3);
    bytes.take(2);
  }
  if (version == 4) {
    const std::size_t removed = bytes.compressed_number();
    require(removed <= before.size());
    entry.path = before.substr(0, before.size() - removed);
    entry.path += bytes.text();
  } else {
    entry.path = bytes.text();
    // One to eight NULs end an entry at a multiple of eight.
    const std::size_t beyond = (start - bytes.left()) % 8;
    for (const char c : bytes.take(beyond == 0 ? 0 : 8 - beyond)) require(c == '\0');
  }
  require(std::min<std::uint64_t>(entry.path.size(), LENGTH) == (flags & LENGTH));
  if (entry.type == Type::folder) {
    require(entry.path.ends_with('/'));
  } else {
    require(entry.path.empty() || is_sound_path(entry.path));
  }
  return entry;
}

Index parse(std::string_view content, std::size_t name_size) {
  Bytes bytes(content);
  require(bytes.take(4) == "DIRC");
  const std::uint64_t version = bytes.number(4);
  require(version >= 2 && version <= 4);
  const std::uint64_t count = bytes.number(4);
  Index index;
  std::size_t path_bytes = 0;
  for (std::uint64_t i = 0; i < count; ++i) {
    const std::string none;
    Entry entry = read_entry(bytes, version, name_size, i == 0 ? none : index.entries.back().path);
    path_bytes += entry.path.size();
    require(path_bytes <= MOST_PATH_BYTES);
    index.entries.push_back(std::move(entry));
  }
  while (bytes.left() != name_size) {
    const std::string_view kind = bytes.take(4);
    const std::string_view extension = bytes.take(bytes.number(4));
    if (kind == "link") {
      index.link = extension;
    } else {
      // What begins in lower case must be understood; that there may be folders is.
      require(kind == "sdir" || (kind[0] >= 'A' && kind[0] <= 'Z'));
    }
  }
  return index;
}

// The positions in a bitmap over `count` entries. It is a row of words of 64 bits: a marker, which
// tells how many words of the same bits follow in thought and how many follow as they are, these,
// the next marker.
std::vector<bool> read_bitmap(Bytes& bytes, std::size_t count) {
  require(bytes.number(4) <= count);
  Bytes words(bytes.take(bytes.number(4) * 8));
  bytes.take(4);  // where the last marker is
  std::vector<bool> bits(count);
  std::size_t at = 0;
  const auto put = [&](std::uint64_t word) {
    for (unsigned bit = 0; bit < 64; ++bit, ++at) {
      if ((word >> bit & 1U) == 0) continue;
      require(at < count);
      bits[at] = true;
    }
  };
  while (words.left() > 0) {
    const std::uint64_t marker = words.number(8);
    const std::uint64_t same = marker >> 1U & 0xFFFFFFFFU;
    require(same <= count / 64 + 1 && at <= count);
    for (std::uint64_t i = 0; i < same; ++i) put((marker & 1U) != 0 ? ~std::uint64_t{0} : 0);
    for (std::uint64_t i = 0; i < marker >> 33U; ++i) put(words.number(8));
  }
  return bits;
}

std::string in_hex(std::string_view bytes) {
  constexpr std::string_view DIGITS = "0123456789abcdef";
  std::string hex;
  for (const char c : bytes) {
    hex += DIGITS[static_cast<unsigned char>(c) >> 4U];
    hex += DIGITS[static_cast<unsigned char>(c) & 0xFU];
  }
  return hex;
}

std::string read_file(const std::filesystem::path& file) {
  BoundedFile found = read_bounded(AT_FDCWD, file.string(), LARGEST_INDEX, Links::refuse);
  require(found.state == BoundedFile::State::read);
  return std::move(found.text);
}

// The entries of a split index and of the file that it shares with others.
std::vector<Entry> united(const std::filesystem::path& git_folder, Index split,
                          std::size_t name_size) {
  Bytes link(split.link);
  const std::string_view name = link.take(name_size);
  if (name.find_first_not_of('\0') == std::string_view::npos) return std::move(split.entries);
  std::vector<Entry> shared =
      parse(read_file(git_folder / ("sharedindex." + in_hex(name))), name_size).entries;
  std::vector<bool> gone(shared.size());
  std::vector<bool> replaced(shared.size());
  if (link.left() > 0) {
    gone = read_bitmap(link, shared.size());
    replaced = read_bitmap(link, shared.size());
  }
  std::size_t next = 0;
  std::vector<Entry> entries;
  for (std::size_t i = 0; i < shared.size(); ++i) {
    if (replaced[i]) {
      require(next < split.entries.size() && split.entries[next].path.empty());
      shared[i].type = split.entries[next++].type;
    }
    if (!gone[i]) entries.push_back(std::move(shared[i]));
  }
  for (; next < split.entries.size(); ++next) entries.push_back(std::move(split.entries[next]));
  return entries;
}

TrackedPaths read(const std::filesystem::path& git_folder, std::string_view content,
                  std::size_t name_size) {
  Index index = parse(content, name_size);
  std::vector<Entry> entries = index.link.empty() ? std::move(index.entries)
                                                  : united(git_folder, std::move(index), name_size);
  TrackedPaths paths;
  for (Entry& entry : entries) {
    if (entry.type == Type::folder) continue;
    require(!entry.path.empty());
    auto& kind = entry.type == Type::repository ? paths.repositories : paths.files;
    kind.push_back(std::move(entry.path));
  }
  std::ranges::sort(paths.files);
  std::ranges::sort(paths.repositories);
  return paths;
}

}  // namespace

std::optional<TrackedPaths> read_git_index(const std::filesystem::path& git_folder) {
  const BoundedFile file =
      read_bounded(AT_FDCWD, (git_folder / "index").string(), LARGEST_INDEX, Links::refuse);
  if (file.state == BoundedFile::State::absent) return TrackedPaths{};
  if (file.state != BoundedFile::State::read) return std::nullopt;
  for (const std::size_t name_size : NAME_SIZES) {
    try {
      return read(git_folder, file.text, name_size);
    } catch (const Damaged&) {
      continue;  // the other size, or none
    }
  }
  return std::nullopt;
}

}  // namespace velmora::host::indexing
