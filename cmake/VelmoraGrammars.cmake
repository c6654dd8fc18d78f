# velmora::grammars: the parsers that scripts/grammars.sh built, with the library that drives them and
# the grammars' scanners. Those are C that people wrote, and read whatever a file holds: they are
# compiled here, with the sanitizers of the build.
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

# velmora_scanners(NAME): the scanners as a library.
function(velmora_scanners name)
  set(packages "${VELMORA_GRAMMARS_DIR}/packages/node_modules")
  file(GLOB scanners "${packages}/tree-sitter-*/src/scanner.c"
       "${packages}/tree-sitter-*/*/src/scanner.c"
       "${packages}/tree-sitter-*/grammars/*/src/scanner.c"
       "${packages}/@*/tree-sitter-*/src/scanner.c")
  add_library(${name} STATIC ${scanners})
  set_target_properties(${name} PROPERTIES C_STANDARD 11 POSITION_INDEPENDENT_CODE ON)
  # They allocate as the library of parsers does. What they assert is left alone in every build: what
  # comes of it is the same then, and the sanitizers see it.
  target_compile_definitions(${name} PRIVATE TREE_SITTER_REUSE_ALLOCATOR NDEBUG)
  target_compile_options(${name} PRIVATE -w)
  foreach(scanner IN LISTS scanners)
    cmake_path(GET scanner PARENT_PATH folder)
    set_source_files_properties("${scanner}" PROPERTIES INCLUDE_DIRECTORIES "${folder}")
  endforeach()
endfunction()

velmora_scanners(velmora_scanners)
velmora_sanitize(velmora_scanners)
target_link_libraries(velmora_scanners PRIVATE velmora::grammars)
target_link_libraries(velmora::grammars INTERFACE velmora_scanners)
