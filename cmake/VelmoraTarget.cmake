# velmora_target(NAME): what every target of this project compiles with. Nothing here leaks to consumers.
find_package(Threads REQUIRED)

function(velmora_target name)
  target_compile_features(${name} PUBLIC cxx_std_20)
  set_target_properties(${name} PROPERTIES CXX_EXTENSIONS OFF POSITION_INDEPENDENT_CODE ON
    CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  # Scores must not depend on whether the compiler fuses a multiplication with an addition.
  target_compile_options(${name} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion
                                         -Wnon-virtual-dtor -Woverloaded-virtual -ffp-contract=off)
  if(VELMORA_WERROR)
    target_compile_options(${name} PRIVATE -Werror)
  endif()
  velmora_sanitize(${name})
endfunction()

# velmora_sanitize(NAME): the sanitizers of the build, for C too.
function(velmora_sanitize name)
  if(VELMORA_SANITIZE)
    target_compile_options(${name} PRIVATE -fsanitize=${VELMORA_SANITIZE} -fno-omit-frame-pointer
                                           -fno-sanitize-recover=all
      # GCC's own words: sanitizers make this warning misfire.
      $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
    target_link_options(${name} PRIVATE -fsanitize=${VELMORA_SANITIZE})
  endif()
endfunction()
