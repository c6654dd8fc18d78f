// The values of settings.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "settings/keys.h"
#include "velmora/host/indexing/source_rules.h"

namespace velmora::host::settings {

// Of the types in the order of Type; nothing: not set.
using Value = std::variant<std::monostate, std::int64_t, double, bool, std::string,
                           std::vector<std::string>, std::vector<indexing::LanguageRule>>;

// The value of a key as the environment or the command line writes it: the parts of a list have a
// colon between, those of a table are GLOB=LANGUAGE. "" is no value. Nothing when it is of another
// type.
[[nodiscard]] std::optional<Value> value_of_text(const Key& key, std::string_view text);

// Why a value of the right type is none that the key may have, as the end of a sentence that begins
// with the key; empty: it is one.
[[nodiscard]] std::string fault_of(const Key& key, const Value& value, bool of_repository);

// As a settings file writes it, on one line and fit for a terminal; "" for no value.
[[nodiscard]] std::string to_toml(const Value& value);

}  // namespace velmora::host::settings
