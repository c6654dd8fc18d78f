# The tests of the Python package, with the shared library of this build.
set(environment
  PYTHONPATH=${CMAKE_CURRENT_SOURCE_DIR}
  PYTHONDONTWRITEBYTECODE=1
  VELMORA_LIBRARY=$<TARGET_FILE:velmora_host_shared>
  # The settings of whoever runs the tests are not theirs.
  XDG_CONFIG_HOME=${PROJECT_BINARY_DIR}/no-settings)
# The interpreter knows nothing of sanitizers, which have to be there first, and frees less than it
# takes.
if(VELMORA_SANITIZE MATCHES address)
  set(preloaded "")
  foreach(library asan ubsan stdc++)
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=lib${library}.so
      OUTPUT_VARIABLE file OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    string(APPEND preloaded "${file}:")
  endforeach()
  list(APPEND environment LD_PRELOAD=${preloaded} ASAN_OPTIONS=detect_leaks=0)
endif()

foreach(title Host Index Interface Process)
  string(TOLOWER ${title} name)
  add_test(NAME Python.${title}
    COMMAND ${Python3_EXECUTABLE} -W error -m unittest tests.test_${name})
  set_tests_properties(Python.${title} PROPERTIES ENVIRONMENT "${environment}")
endforeach()

find_package(nlohmann_json REQUIRED)
# The library with the contract tests inside stands in for the other.
add_library(velmora_python_contract MODULE ${PROJECT_SOURCE_DIR}/tests/contract/python_contract.cpp)
velmora_target(velmora_python_contract)
target_include_directories(velmora_python_contract PRIVATE ${PROJECT_SOURCE_DIR}/host/src)
target_link_libraries(velmora_python_contract PRIVATE
  velmora_contract "$<LINK_LIBRARY:WHOLE_ARCHIVE,velmora_host>" nlohmann_json::nlohmann_json)
add_test(NAME Python.Contract COMMAND ${Python3_EXECUTABLE} -W error -m unittest tests.test_contract)
set_tests_properties(Python.Contract PROPERTIES ENVIRONMENT
  "${environment};VELMORA_LIBRARY=$<TARGET_FILE:velmora_python_contract>")

# What is typed, in the package, its tests and its example.
find_program(VELMORA_MYPY mypy)
if(VELMORA_MYPY)
  add_test(NAME Python.Types
    COMMAND ${VELMORA_MYPY} --strict --cache-dir ${CMAKE_CURRENT_BINARY_DIR}/mypy
            velmora tests ${PROJECT_SOURCE_DIR}/examples/ask.py
    WORKING_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR})
endif()

# The wheel works alone, where it is installed.
execute_process(COMMAND ${Python3_EXECUTABLE} -c "import setuptools, wheel, pip"
  RESULT_VARIABLE missing ERROR_QUIET)
if(NOT missing)
  add_test(NAME Python.Wheel
    COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/tests/wheel_test.sh ${Python3_EXECUTABLE}
            ${PROJECT_BINARY_DIR} ${PROJECT_VERSION} "${preloaded}")
endif()
