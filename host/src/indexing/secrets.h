// Keeps keys and passwords of a source out of what is told about it.
//
// A symbol's signature and docstring go into the index, into answers and, where the user wants it,
// to servers; a key that somebody wrote into a constant must not go along. Nobody can know all of
// them. What is left out: texts of the shapes that keys of services have, private keys, passwords
// in URLs, literals that look drawn at random, and any literal that is given to a name like
// password.
#pragma once

#include <string>
#include <string_view>

namespace velmora::host::indexing {

// The text with "..." in place of what is a key by its shape alone. Time grows as the text does.
[[nodiscard]] std::string without_keys(std::string_view text);

// The same of a signature, in which "..." also stands for what is in a quoted literal that looks
// drawn at random or that belongs to a secret's name: `API_KEY = "..."`, `(user="me",
// password="...")`. What stays: words, paths, versions, dates, colours, UUIDs, alphabets.
[[nodiscard]] std::string without_secrets(std::string_view signature);

}  // namespace velmora::host::indexing
