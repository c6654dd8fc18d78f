# velmora::grammars: the parsers that scripts/grammars.sh built, with the library that drives them.
set(VELMORA_GRAMMARS_DIR "${PROJECT_SOURCE_DIR}/build/grammars" CACHE PATH
    "Where scripts/grammars.sh built the parsers")
set(library "${VELMORA_GRAMMARS_DIR}/libvelmora_grammars.a")
set(headers "${VELMORA_GRAMMARS_DIR}/cmake/include")
if(NOT EXISTS "${library}" OR NOT EXISTS "${headers}")
  message(FATAL_ERROR "${VELMORA_GRAMMARS_DIR} holds no parsers. Run scripts/grammars.sh once, or "
                      "configure with -DVELMORA_BUILD_HOST=OFF.")
endif()

add_library(velmora::grammars STATIC IMPORTED GLOBAL)
set_target_properties(velmora::grammars PROPERTIES
  IMPORTED_LOCATION "${library}"
  INTERFACE_INCLUDE_DIRECTORIES "${headers}")
