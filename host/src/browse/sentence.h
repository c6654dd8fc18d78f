// Questions that are sentences.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace velmora::host::browse {

// The question as the retriever is to read it. A capital letter makes a word a name in code to it,
// which comes before everything else; at the beginning of a sentence it means nothing. So the first
// word of a sentence loses its capital when it is one capital with nothing but small letters
// behind, and the sentence goes on with a word of prose, all small. It keeps it when `is_thing`
// knows it, written exactly so, as the name of something in the index that cannot be called:
// "Request times out" may well speak of a class Request, "Align the columns" of no function Align.
// Everything else stays as typed: a name alone, names among names.
[[nodiscard]] std::string read_as_sentence(std::string_view question,
                                           const std::function<bool(std::string_view)>& is_thing);

}  // namespace velmora::host::browse
