# velmora_library(NAME EXPORT EXPORT FILE FILE [USES LIBRARY] [PUBLIC ITEM...] [PRIVATE ITEM...]
#                 BASE FOLDER HEADERS HEADER...):
# makes the static library NAME one of the package, as libFILE and velmora::EXPORT.
#
# With BUILD_SHARED_LIBS there is a shared one of the same objects, which has that name in the package
# then; the static one is velmora::EXPORT_static. It offers what the headers mark with VELMORA_API.
# What this project builds links the static ones, whose private parts it may use.
#
# LIBRARY is another such library; the items are from elsewhere, as target_link_libraries takes them.
function(velmora_library name)
  cmake_parse_arguments(PARSE_ARGV 1 LIBRARY "" "EXPORT;FILE;USES;BASE" "PUBLIC;PRIVATE;HEADERS")
  set(static ${LIBRARY_EXPORT})
  if(BUILD_SHARED_LIBS)
    set(static ${LIBRARY_EXPORT}_static)
    add_library(${name}_shared SHARED $<TARGET_OBJECTS:${name}>)
    velmora_target(${name}_shared)
    set(script ${PROJECT_SOURCE_DIR}/cmake/exports.map)
    set_target_properties(${name}_shared PROPERTIES
      EXPORT_NAME ${LIBRARY_EXPORT}
      OUTPUT_NAME ${LIBRARY_FILE}
      # Beside the models, as the program lies.
      LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}
      LINKER_LANGUAGE CXX
      LINK_DEPENDS ${script}
      VERSION ${PROJECT_VERSION}
      SOVERSION ${PROJECT_VERSION_MAJOR})
    target_link_options(${name}_shared PRIVATE
      LINKER:--version-script=${script} LINKER:--no-undefined LINKER:--as-needed)
    add_library(velmora::${LIBRARY_EXPORT} ALIAS ${name}_shared)
    velmora_library_target(${name}_shared _shared)
  endif()
  set_target_properties(${name} PROPERTIES EXPORT_NAME ${static} OUTPUT_NAME ${LIBRARY_FILE})
  add_library(velmora::${static} ALIAS ${name})
  velmora_library_target(${name} "")
endfunction()

# What the static and the shared library have in common.
macro(velmora_library_target name suffix)
  target_sources(${name} PUBLIC FILE_SET HEADERS
    BASE_DIRS ${LIBRARY_BASE} FILES ${LIBRARY_HEADERS})
  if(LIBRARY_USES)
    target_link_libraries(${name} PUBLIC ${LIBRARY_USES}${suffix})
  endif()
  target_link_libraries(${name} PUBLIC ${LIBRARY_PUBLIC} PRIVATE ${LIBRARY_PRIVATE})
  if(VELMORA_INSTALL)
    install(TARGETS ${name} EXPORT velmora_${LIBRARY_EXPORT}
      ARCHIVE COMPONENT development
      LIBRARY COMPONENT libraries NAMELINK_COMPONENT development
      FILE_SET HEADERS COMPONENT development)
  endif()
endmacro()
