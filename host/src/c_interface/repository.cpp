#include "c_interface/repository.h"

#include <optional>
#include <stdexcept>
#include <string>

#include "c_interface/arguments.h"
#include "c_interface/message.h"

struct velmora_fingerprint {
  std::optional<std::string> value;
};

struct velmora_pairs {
  std::vector<velmora::storage::NearestPair> all;
};

struct velmora_docstrings {
  std::unordered_map<velmora::storage::SymbolId, velmora::storage::StoredSymbol> all;
};

namespace velmora::host::c_interface {
namespace {

std::vector<velmora_string> strings_of(std::span<const std::string_view> texts) {
  std::vector<velmora_string> strings;
  strings.reserve(texts.size());
  for (const std::string_view text : texts) strings.push_back(string_of(text));
  return strings;
}

std::optional<std::string_view> maybe(velmora_string text) {
  return text.data == nullptr ? std::nullopt : std::optional(text_of(text));
}

class CallbackCursor final : public storage::SymbolCursor {
 public:
  CallbackCursor(const velmora_repository& table, std::span<const std::string_view> languages,
                 std::span<const std::string_view> kinds)
      : table_(table), languages_(strings_of(languages)), kinds_(strings_of(kinds)) {
    call("open", table_.open, table_.self, languages_.data(), languages_.size(), kinds_.data(),
         kinds_.size(), &cursor_);
  }
  CallbackCursor(const CallbackCursor&) = delete;
  CallbackCursor& operator=(const CallbackCursor&) = delete;
  ~CallbackCursor() override {
    if (table_.close != nullptr) table_.close(table_.self, cursor_);
  }

  const storage::SymbolRow* next() override {
    velmora_symbol row = VELMORA_INIT(velmora_symbol);
    bool is_row = false;
    call("next", table_.next, table_.self, cursor_, &row, &is_row);
    if (!is_row) return nullptr;
    row_ = {.id = row.id,
            .fqn = text_of(row.fqn),
            .name = text_of(row.name),
            .kind = text_of(row.kind),
            .path = text_of(row.path),
            .start_line = row.start_line,
            .end_line = row.end_line,
            .signature = maybe(row.signature),
            .docstring = maybe(row.docstring)};
    return &row_;
  }

 private:
  const velmora_repository& table_;
  const std::vector<velmora_string> languages_, kinds_;
  void* cursor_ = nullptr;
  storage::SymbolRow row_;
};

}  // namespace

CallbackRepository::CallbackRepository(const velmora_repository& given)
    : table_(taken(&given, "repository")), self_(table_.self, table_.release) {
  require(table_.fingerprint != nullptr, "repository->fingerprint");
  require(table_.open != nullptr, "repository->open");
  require(table_.next != nullptr, "repository->next");
}

storage::IndexFingerprint CallbackRepository::retrieval_fingerprint() {
  velmora_fingerprint fingerprint;
  call("fingerprint", table_.fingerprint, table_.self, &fingerprint);
  if (!fingerprint.value) throw std::runtime_error("fingerprint put no fingerprint");
  return {*std::move(fingerprint.value)};
}

std::unique_ptr<storage::SymbolCursor> CallbackRepository::retrievable_code_symbols(
    std::span<const std::string_view> languages, std::span<const std::string_view> kinds) {
  return std::make_unique<CallbackCursor>(table_, languages, kinds);
}

std::vector<storage::NearestPair> CallbackRepository::nearest_symbol_ids(
    std::span<const float> values, std::string_view model, storage::NearestOptions options) {
  velmora_pairs pairs;
  if (table_.nearest != nullptr) {
    call("nearest", table_.nearest, table_.self, values.data(), values.size(), string_of(model),
         options.top_k, &pairs);
  }
  return std::move(pairs.all);
}

std::unordered_map<storage::SymbolId, storage::StoredSymbol> CallbackRepository::get_symbols_by_ids(
    std::span<const storage::SymbolId> ids) {
  velmora_docstrings docstrings;
  if (table_.docstrings != nullptr) {
    call("docstrings", table_.docstrings, table_.self, ids.data(), ids.size(), &docstrings);
  }
  return std::move(docstrings.all);
}

}  // namespace velmora::host::c_interface

namespace c_interface = velmora::host::c_interface;

velmora_code velmora_put_fingerprint(velmora_fingerprint* out, velmora_string value) noexcept {
  return c_interface::guarded([&] {
    c_interface::required(out, "out").value = c_interface::required_text(value, "value");
  });
}

velmora_code velmora_put_pair(velmora_pairs* out, int64_t id, double similarity) noexcept {
  return c_interface::guarded([&] {
    c_interface::required(out, "out").all.push_back({.id = id, .similarity = similarity});
  });
}

velmora_code velmora_put_docstring(velmora_docstrings* out, int64_t id,
                                   velmora_string docstring) noexcept {
  return c_interface::guarded([&] {
    c_interface::required(out, "out").all[id] = {
        .docstring =
            std::optional<std::string>(c_interface::optional_text(docstring, "docstring"))};
  });
}
