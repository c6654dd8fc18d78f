# velmora::grammars: the parsers that scripts/grammars.sh built, with the library that drives them.
set(VELMORA_GRAMMARS "${PROJECT_SOURCE_DIR}/build/grammars/libvelmora_grammars.a" CACHE FILEPATH
    "The static library of parsers")
if(NOT EXISTS "${VELMORA_GRAMMARS}")
  message(FATAL_ERROR "${VELMORA_GRAMMARS} is missing. Run scripts/grammars.sh once, or configure "
                      "with -DVELMORA_BUILD_HOST=OFF.")
endif()
find_package(PkgConfig REQUIRED)
pkg_check_modules(TREE_SITTER REQUIRED IMPORTED_TARGET GLOBAL tree-sitter)

add_library(velmora::grammars STATIC IMPORTED GLOBAL)
set_target_properties(velmora::grammars PROPERTIES IMPORTED_LOCATION "${VELMORA_GRAMMARS}")
target_link_libraries(velmora::grammars INTERFACE PkgConfig::TREE_SITTER)
