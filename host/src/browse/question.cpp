#include "browse/question.h"

#include "browse/sentence.h"
#include "index/catalog.h"

namespace velmora::host::browse {

std::string read_question(std::string_view question, index::Index& index) {
  return read_as_sentence(question, [&](std::string_view word) {
    bool found = false;
    index.read([&](const index::Catalog& catalog) { found = catalog.has_thing(word); });
    return found;
  });
}

}  // namespace velmora::host::browse
