#include "velmora/host/embedding/word_model.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <limits>
#include <system_error>
#include <unordered_set>
#include <utility>

#include "embedding/word_bag.h"

// A model file is, in the byte order of the machines that read it (little end first):
//
//   header    magic, sizes and settings as `Header` lists them, and the checksum of all the rest
//   slots     a hash table with linear probing: the number of a word plus one, 0 for an empty slot
//   offsets   where each word ends in `text`
//   scales    what a step of each word's numbers is worth (int8 only)
//   text      the words, one after the other
//   name      the base name
//   rows      the vectors
//
// Everything is read through load(), so nothing needs to be aligned.
namespace velmora::host::embedding {
namespace {

namespace fs = std::filesystem;

static_assert(std::endian::native == std::endian::little, "model files keep the little end first");

constexpr std::array<char, 8> MAGIC = {'V', 'E', 'L', 'W', 'O', 'R', 'D', 'S'};
constexpr std::uint32_t VERSION = 4;
// Its files read no bodies, and their header ends without the settings for them.
constexpr std::uint32_t VERSION_WITHOUT_BODIES = 3;
constexpr float LARGEST_STEP = 127.0F;
// Keep sizes and sums far from the end of their types.
constexpr std::uint32_t LARGEST_DIMENSIONS = 1U << 16U;
constexpr float LARGEST_NUMBER = 1e6F;
constexpr off_t LARGEST_FILE = off_t{512} << 20;

struct Header {
  std::array<char, 8> magic = MAGIC;
  std::uint32_t version = VERSION;
  RowKind kind = RowKind::int8;
  std::uint32_t dimensions = 0;
  std::uint32_t words = 0;
  std::uint32_t slots = 0;  // a power of two, more than there are words
  std::uint32_t text_bytes = 0;
  std::uint32_t name_bytes = 0;
  float unknown_length = 0.0F;
  SymbolSettings settings = {};
  std::uint64_t checksum = 0;
};
static_assert(sizeof(Header) == 96, "the header has no gaps");

template <class Value>
Value load(const std::byte* from) {
  Value value;
  std::memcpy(&value, from, sizeof value);
  return value;
}

// Goes on from `sum` with more bytes. Each step maps different sums, and different words, to
// different sums, so that no change within one word is missed.
std::uint64_t checksum(std::uint64_t sum, std::span<const std::byte> bytes) {
  const auto step = [&](std::uint64_t word) {
    sum = (sum ^ word) * 0x9E3779B97F4A7C15U;
    sum ^= sum >> 29U;
  };
  std::size_t at = 0;
  for (; at + 8 <= bytes.size(); at += 8) step(load<std::uint64_t>(bytes.data() + at));
  std::uint64_t rest = 0;
  for (; at < bytes.size(); ++at) rest = rest << 8U | std::to_integer<std::uint64_t>(bytes[at]);
  step(rest);
  step(bytes.size());
  return sum;
}

std::size_t header_bytes(std::uint32_t version) {
  return sizeof(Header) - (version == VERSION_WITHOUT_BODIES ? sizeof(PartSettings) : 0);
}

// REQUIRES: the bytes hold a header of the newest version.
Header read_header(std::span<const std::byte> bytes) {
  auto header = load<Header>(bytes.data());
  if (header.version == VERSION_WITHOUT_BODIES) {
    header.settings.body = {0.0F, 0};
    header.checksum =
        load<std::uint64_t>(bytes.data() + header_bytes(header.version) - sizeof header.checksum);
  }
  return header;
}

// The checksum of a whole file, which holds it at the end of its header.
std::uint64_t file_checksum(std::span<const std::byte> file, std::uint32_t version) {
  const std::size_t size = header_bytes(version);
  std::array<std::byte, sizeof(Header)> header{};
  std::copy_n(file.begin(), size - sizeof(std::uint64_t), header.begin());
  const std::uint64_t sum = checksum(0, std::span(header).first(size));
  return checksum(sum, file.subspan(size));
}

// Where each section begins, and where the file ends.
struct Layout {
  explicit Layout(const Header& header)
      : slots(header_bytes(header.version)),
        offsets(slots + std::uint64_t{header.slots} * 4),
        scales(offsets + std::uint64_t{header.words} * 4),
        text(scales + (header.kind == RowKind::int8 ? std::uint64_t{header.words} * 4 : 0)),
        name(text + header.text_bytes),
        rows(name + header.name_bytes),
        end(rows + std::uint64_t{header.words} * header.dimensions *
                       (header.kind == RowKind::int8 ? 1 : 4)) {}

  std::uint64_t slots, offsets, scales, text, name, rows, end;
};

bool usable(const PartSettings& part) { return std::isfinite(part.weight) && part.weight >= 0.0F; }

bool usable_length(float length) { return length >= 0.0F && length <= LARGEST_NUMBER; }

bool usable(const SymbolSettings& settings) {
  return usable(settings.name) && usable(settings.fqn) && usable(settings.signature) &&
         usable(settings.path) && usable(settings.docstring) && usable(settings.body);
}

// Makes the length of `values` one, unless all are zero.
void normalise(std::span<float> values) {
  double square = 0.0;
  for (const float value : values) square += double{value} * double{value};
  if (square <= 0.0) return;
  const auto factor = static_cast<float>(1.0 / std::sqrt(square));
  for (float& value : values) value *= factor;
}

void check(const WordModelData& data) {
  const auto need = [](bool holds, const char* rule) {
    if (!holds) throw std::invalid_argument(rule);
  };
  need(!data.base_name.empty(), "a model needs a name");
  need(data.dimensions > 0, "a model needs a dimension");
  need(usable(data.settings), "the weight of a part is below zero or not finite");
  need(usable_length(data.unknown_length),
       "the length of unknown words is below zero or not finite");
  need(data.rows.size() == data.words.size() * data.dimensions, "each word needs one whole vector");
  need(std::all_of(data.rows.begin(), data.rows.end(), [](float v) { return std::isfinite(v); }),
       "a number of a vector is not finite");
  std::unordered_set<std::string_view> seen;
  for (const std::string& word : data.words) {
    need(!word.empty() && seen.insert(word).second, "a word is empty or stands there twice");
  }
}

template <class Value>
void append(std::vector<std::byte>& bytes, std::span<const Value> values) {
  const auto added = std::as_bytes(values);
  bytes.insert(bytes.end(), added.begin(), added.end());
}

std::vector<std::uint32_t> slots_of(const std::vector<std::string>& words) {
  std::vector<std::uint32_t> slots(std::bit_ceil(2 * words.size() + 1));
  for (std::uint32_t number = 0; number < words.size(); ++number) {
    std::size_t slot = word_hash(words[number]) & (slots.size() - 1);
    while (slots[slot] != 0) slot = (slot + 1) & (slots.size() - 1);
    slots[slot] = number + 1;
  }
  return slots;
}

std::vector<std::byte> encode(const WordModelData& data, RowKind kind) {
  const std::vector<std::uint32_t> slots = slots_of(data.words);
  std::vector<std::uint32_t> offsets;
  std::string text;
  for (const std::string& word : data.words) {
    text += word;
    offsets.push_back(static_cast<std::uint32_t>(text.size()));
  }
  std::vector<float> scales;
  std::vector<std::int8_t> steps;
  if (kind == RowKind::int8) {
    for (std::size_t word = 0; word < data.words.size(); ++word) {
      const auto row = std::span(data.rows).subspan(word * data.dimensions, data.dimensions);
      float largest = 0.0F;
      for (const float value : row) largest = std::max(largest, std::abs(value));
      scales.push_back(largest / LARGEST_STEP);
      for (const float value : row) {
        const float step = largest > 0.0F ? std::nearbyint(value / largest * LARGEST_STEP) : 0.0F;
        steps.push_back(static_cast<std::int8_t>(step));
      }
    }
  }
  Header header;
  header.kind = kind;
  header.dimensions = data.dimensions;
  header.words = static_cast<std::uint32_t>(data.words.size());
  header.slots = static_cast<std::uint32_t>(slots.size());
  header.text_bytes = static_cast<std::uint32_t>(text.size());
  header.name_bytes = static_cast<std::uint32_t>(data.base_name.size());
  header.unknown_length = data.unknown_length;
  header.settings = data.settings;

  std::vector<std::byte> bytes(sizeof header);
  append(bytes, std::span<const std::uint32_t>(slots));
  append(bytes, std::span<const std::uint32_t>(offsets));
  append(bytes, std::span<const float>(scales));
  append(bytes, std::span<const char>(text));
  append(bytes, std::span<const char>(data.base_name));
  if (kind == RowKind::int8) {
    append(bytes, std::span<const std::int8_t>(steps));
  } else {
    append(bytes, std::span<const float>(data.rows));
  }
  std::memcpy(bytes.data(), &header, sizeof header);
  header.checksum = file_checksum(bytes, VERSION);
  std::memcpy(bytes.data(), &header, sizeof header);
  return bytes;
}

}  // namespace

void write_word_model(const fs::path& file, const WordModelData& data, RowKind kind) {
  check(data);
  const std::vector<std::byte> bytes = encode(data, kind);
  std::string letters(bytes.size(), '\0');
  std::memcpy(letters.data(), bytes.data(), bytes.size());
  fs::path partial = file;
  partial += ".partial";
  try {
    fs::remove(partial);  // a link that came with a repository would be written through
    std::ofstream out(partial, std::ios::binary | std::ios::trunc);
    out.exceptions(std::ios::failbit | std::ios::badbit);
    out.write(letters.data(), static_cast<std::streamsize>(letters.size()));
    out.close();
    fs::rename(partial, file);
  } catch (const std::system_error&) {
    std::error_code ignored;
    fs::remove(partial, ignored);
    throw;
  }
}

// The file's content, checked.
struct WordModel::File {
  explicit File(const fs::path& path) {
    const auto fail = [&](const std::string& what) {
      throw ModelFileError("The model file " + path.string() + " " + what);
    };
    const auto fail_with_reason = [&] {
      fail("cannot be read: " + std::generic_category().message(errno));
    };
    // Without a wait for whoever writes to a pipe, which is refused below.
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0) fail_with_reason();
    const struct Closer {
      int descriptor;
      ~Closer() { ::close(descriptor); }
    } closer{descriptor};
    struct stat status {};
    if (::fstat(descriptor, &status) != 0) fail_with_reason();
    if (!S_ISREG(status.st_mode)) fail("is not a file");
    if (status.st_size > LARGEST_FILE) {
      fail("is larger than " + std::to_string(LARGEST_FILE) + " bytes");
    }
    // Whole, and not mapped: what becomes of the file later changes nothing.
    const auto size = static_cast<std::size_t>(status.st_size);
    content = std::make_unique_for_overwrite<std::byte[]>(size);
    std::size_t filled = 0;
    while (filled < size) {
      const ssize_t count = ::read(descriptor, content.get() + filled, size - filled);
      if (count < 0 && errno == EINTR) continue;
      if (count < 0) fail_with_reason();
      if (count == 0) break;
      filled += static_cast<std::size_t>(count);
    }
    if (filled < sizeof(Header)) fail("is cut short or is no model");
    try {
      take_apart(std::span<const std::byte>(content.get(), filled));
    } catch (const ModelFileError& error) {
      fail(error.what());
    }
  }

  [[nodiscard]] std::uint32_t word_end(std::size_t word) const {
    return load<std::uint32_t>(offsets + word * 4);
  }

  [[nodiscard]] std::string_view word(std::size_t number) const {
    const std::uint32_t begin = number == 0 ? 0 : word_end(number - 1);
    return text.substr(begin, word_end(number) - begin);
  }

  // Adds `weight` times the vector of the word of this number.
  void add_row(std::size_t number, float weight, std::span<float> sum) const {
    const std::size_t count = sum.size();
    float* const to = sum.data();
    if (header.kind == RowKind::int8) {
      const float factor = weight * load<float>(scales + number * 4);
      const std::byte* const row = rows + number * count;
      for (std::size_t i = 0; i < count; ++i) {
        to[i] += factor * static_cast<float>(std::to_integer<std::int8_t>(row[i]));
      }
    } else {
      const std::byte* const row = rows + number * count * 4;
      for (std::size_t i = 0; i < count; ++i) to[i] += weight * load<float>(row + i * 4);
    }
  }

  void embed(const WordBag& bag, std::span<float> out) const {
    std::fill(out.begin(), out.end(), 0.0F);
    for (const WeightedWord& entry : bag) {
      std::size_t slot = word_hash(entry.word) & (header.slots - 1);
      std::uint32_t number = 0;
      while ((number = load<std::uint32_t>(slots + slot * 4)) != 0 &&
             word(number - 1) != entry.word) {
        slot = (slot + 1) & (header.slots - 1);
      }
      if (number != 0) {
        add_row(number - 1, entry.weight, out);
      } else if (header.unknown_length > 0.0F) {
        add_unknown_word(entry.word, entry.weight * header.unknown_length, out);
      }
    }
    normalise(out);
  }

  std::unique_ptr<std::byte[]> content = {};
  Header header = {};
  const std::byte* slots = nullptr;
  const std::byte* offsets = nullptr;
  const std::byte* scales = nullptr;
  const std::byte* rows = nullptr;
  std::string text_copy = {};
  std::string_view text = {};
  std::string base_name = {};

 private:
  // Takes the file apart. Throws a ModelFileError that says what stands after the file's name.
  void take_apart(std::span<const std::byte> bytes) {
    const auto need = [](bool holds, const std::string& what) {
      if (!holds) throw ModelFileError(what);
    };
    header = read_header(bytes);
    need(header.magic == MAGIC, "is no model");
    need(header.version == VERSION || header.version == VERSION_WITHOUT_BODIES,
         "has format version " + std::to_string(header.version) +
             ", and this program reads version " + std::to_string(VERSION));
    need((header.kind == RowKind::int8 || header.kind == RowKind::float32) &&
             header.dimensions > 0 && header.dimensions <= LARGEST_DIMENSIONS &&
             header.name_bytes > 0 && std::has_single_bit(header.slots) &&
             header.slots > header.words,
         "is damaged: its header makes no sense");
    const Layout layout(header);
    need(layout.end == bytes.size(), "is cut short or damaged: it has " +
                                         std::to_string(bytes.size()) + " bytes, and its header " +
                                         "announces " + std::to_string(layout.end));
    need(file_checksum(bytes, header.version) == header.checksum,
         "is damaged: its checksum is wrong");

    slots = bytes.data() + layout.slots;
    offsets = bytes.data() + layout.offsets;
    scales = bytes.data() + layout.scales;
    rows = bytes.data() + layout.rows;
    text_copy = copy(bytes.subspan(layout.text, header.text_bytes));
    text = text_copy;
    base_name = copy(bytes.subspan(layout.name, header.name_bytes));
    // A file may be made to have the right checksum and wrong numbers all the same.
    need(usable_length(header.unknown_length) && usable(header.settings) && words_fit() &&
             slots_fit() && numbers_fit(),
         "is damaged: its content contradicts itself");
  }

  static std::string copy(std::span<const std::byte> bytes) {
    std::string text(bytes.size(), '\0');
    std::memcpy(text.data(), bytes.data(), bytes.size());
    return text;
  }

  [[nodiscard]] bool words_fit() const {
    std::uint32_t last = 0;
    for (std::size_t number = 0; number < header.words; ++number) {
      const std::uint32_t end = word_end(number);
      if (end <= last || end > header.text_bytes) return false;
      last = end;
    }
    return last == header.text_bytes;
  }

  // An empty slot ends every search; there are fewer words than slots, so one is left if no word
  // stands in two.
  [[nodiscard]] bool slots_fit() const {
    std::size_t used = 0;
    for (std::size_t slot = 0; slot < header.slots; ++slot) {
      const auto number = load<std::uint32_t>(slots + slot * 4);
      if (number > header.words) return false;
      used += number != 0 ? 1U : 0U;
    }
    return used == header.words;
  }

  [[nodiscard]] bool numbers_fit() const {
    const bool bytes = header.kind == RowKind::int8;
    const std::byte* const numbers = bytes ? scales : rows;
    const std::size_t count = std::size_t{header.words} * (bytes ? 1 : header.dimensions);
    for (std::size_t i = 0; i < count; ++i) {
      if (!(std::abs(load<float>(numbers + i * 4)) <= LARGEST_NUMBER)) return false;
    }
    return true;
  }
};

WordModel::WordModel(std::unique_ptr<const File> file)
    : file_(std::move(file)),
      name_([&] {
        std::array<char, 9> digits{};
        std::snprintf(digits.data(), digits.size(), "%08x",
                      static_cast<unsigned>(file_->header.checksum >> 32U));
        return file_->base_name + "-" + digits.data();
      }()),
      dimensions_(file_->header.dimensions) {}

WordModel::~WordModel() = default;

std::shared_ptr<const WordModel> WordModel::open(const fs::path& file) {
  return std::shared_ptr<const WordModel>(new WordModel(std::make_unique<const File>(file)));
}

void WordModel::embed_query(std::string_view text, std::span<float> out) const {
  file_->embed(query_bag(text), out);
}

void WordModel::embed_symbol(const SymbolParts& symbol, std::span<float> out) const {
  file_->embed(symbol_bag(symbol, file_->header.settings), out);
}

WordModelData WordModel::data() const {
  WordModelData data = {.base_name = file_->base_name,
                        .settings = file_->header.settings,
                        .dimensions = file_->header.dimensions,
                        .unknown_length = file_->header.unknown_length};
  data.rows.resize(std::size_t{file_->header.words} * dimensions_);
  for (std::size_t number = 0; number < file_->header.words; ++number) {
    data.words.emplace_back(file_->word(number));
    file_->add_row(number, 1.0F, std::span(data.rows).subspan(number * dimensions_, dimensions_));
  }
  return data;
}

}  // namespace velmora::host::embedding
