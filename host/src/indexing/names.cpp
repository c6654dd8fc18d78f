#include "indexing/names.h"

namespace velmora::host::indexing {

bool is_in_capitals(std::string_view name) {
  constexpr std::string_view CAPITALS = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
  constexpr std::string_view ALLOWED = "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_";
  return name.size() > 1 && name.find_first_of(CAPITALS) != name.npos &&
         name.find_first_not_of(ALLOWED) == name.npos;
}

}  // namespace velmora::host::indexing
