// The declaration and the definition of one thing, which its author documents once: a prototype in
// a header and a function's body, the parts of a partial class, what an interface asks for and the
// extension that gives it.
//
// An index keeps no pairs: whether two symbols are one follows from what each of them says, so that
// a file can change without the rows of another one.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace velmora::host::index {

// Whether a symbol may have a counterpart.
[[nodiscard]] bool may_have_parts(std::string_view language, std::string_view kind);

// Those with a docstring, and those without one, as conditions on the rows of `symbols`. The
// indexes documented_by_fqn and undocumented_by_fqn have their names.
[[nodiscard]] std::string documented_sql();
[[nodiscard]] std::string undocumented_sql();

// One of two symbols with the same fqn, both of which may have parts.
struct Part {
  std::string_view language;
  std::string_view kind;
  std::string_view path;
  std::string_view signature;
};

// Longer signatures, in bytes, are compared with none: it is done often, and a stranger's names may
// be made to be compared.
inline constexpr std::size_t LONGEST_PART = 500;

// Whether the two are parts of one thing: both are called or neither is, their parameters have the
// same types (in C and C++ their names and default values may differ, in the other languages the
// values), and they stand where parts do. Those are, of functions in C and C++ that are no members,
// a header and another file; of Kotlin one module, whichever its source sets; of C# and Swift one
// folder. Types of the other languages have one part only.
[[nodiscard]] bool are_parts(const Part& a, const Part& b);

// Whether a file is a header of C or C++, by its name.
[[nodiscard]] bool is_header(std::string_view path);

}  // namespace velmora::host::index
