// Questions that are sentences.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace velmora::host::browse {

// The question as the retriever is to read it. A capital letter makes a word a name in code to it,
// which comes before everything else; at the beginning of a sentence it means nothing. So the first
// word of a sentence, when it is a capital with nothing but small letters behind and two other
// words of the sentence are prose, loses its capital, unless `is_name` knows it, exactly as it
// stands there, as a name of the index. Everything else stays as typed: a name alone, names among
// names.
[[nodiscard]] std::string read_as_sentence(std::string_view question,
                                           const std::function<bool(std::string_view)>& is_name);

}  // namespace velmora::host::browse
