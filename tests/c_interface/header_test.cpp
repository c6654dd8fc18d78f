// The header as C++ has it.
#include <velmora/velmora.h>

#include <type_traits>

static_assert(noexcept(velmora_ask(nullptr, {}, nullptr, nullptr)) && noexcept(
    velmora_answer_free(nullptr)) && noexcept(velmora_string_of("")));
static_assert(VELMORA_INIT(velmora_hit).size == sizeof(velmora_hit));
static_assert(std::is_standard_layout_v<velmora_repository>);
