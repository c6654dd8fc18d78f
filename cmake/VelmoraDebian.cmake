# The Debian packages that `cpack -G DEB` makes: velmora, libvelmora1, libvelmora-dev and
# python3-velmora, one of each install component.
if(NOT BUILD_SHARED_LIBS OR NOT VELMORA_BUILD_HOST)
  return()
endif()
set(library libvelmora${PROJECT_VERSION_MAJOR})

set(CPACK_PACKAGE_NAME velmora)
set(CPACK_PACKAGE_VENDOR "The Velmora developers")
set(CPACK_PACKAGE_CONTACT "The Velmora developers <velmora@example.org>")
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has its own
set(CPACK_GENERATOR DEB)
set(CPACK_COMPONENTS_ALL program libraries development python)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
# libvelmora.so needs libvelmora_retrieval.so, which is in the same package.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})

set(CPACK_DEBIAN_PROGRAM_PACKAGE_NAME velmora)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SECTION utils)
# libcurl is loaded when a server is asked, and velmora-train reads the history that git tells.
set(CPACK_DEBIAN_PROGRAM_PACKAGE_RECOMMENDS "git, libcurl4")
set(CPACK_DEBIAN_PROGRAM_DESCRIPTION "local retrieval of code from source repositories
Velmora answers a question about a source repository, a sentence, keywords
or a name, with the functions and types that best answer it. It reads more
than twenty languages, brings small models of its own, and needs no server.

This package has the programs velmora and velmora-train, the models, and
the program that parses sources.")

set(CPACK_DEBIAN_LIBRARIES_PACKAGE_NAME ${library})
set(CPACK_DEBIAN_LIBRARIES_PACKAGE_SECTION libs)
# The models and the program that parses are of one build with the libraries.
set(CPACK_DEBIAN_LIBRARIES_PACKAGE_DEPENDS "velmora (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_LIBRARIES_PACKAGE_RECOMMENDS libcurl4)
file(WRITE ${PROJECT_BINARY_DIR}/debian/triggers "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_LIBRARIES_PACKAGE_CONTROL_EXTRA ${PROJECT_BINARY_DIR}/debian/triggers)
set(CPACK_DEBIAN_LIBRARIES_DESCRIPTION "local retrieval of code, shared libraries
Velmora answers a question about a source repository with the functions
and types that best answer it.

This package has the library that ranks the symbols of an index that a
program keeps, and the one that makes and reads an index itself.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libvelmora-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
# The static SQLite wants zlib, and its own package does not say so.
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
  "${library} (= ${PROJECT_VERSION}), libsqlite3-dev, libicu-dev, zlib1g-dev")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "local retrieval of code, development files
Velmora answers a question about a source repository with the functions
and types that best answer it.

This package has the headers, the static libraries, and what CMake and
pkg-config need to find them.")

set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-velmora)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS
  "python3 (>= 3.11), ${library} (>= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_PYTHON_DESCRIPTION "local retrieval of code, Python package
Velmora answers a question about a source repository with the functions
and types that best answer it.

This package has the module velmora, which is typed and calls the shared
library.")

# A build of the same source has the same bytes: the date is that of the source.
string(TIMESTAMP CHANGELOG_DATE "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(${PROJECT_SOURCE_DIR}/packaging/debian/changelog.in
  ${PROJECT_BINARY_DIR}/debian/changelog @ONLY)
configure_file(${PROJECT_SOURCE_DIR}/cmake/debian_files.cmake.in
  ${PROJECT_BINARY_DIR}/debian/files.cmake @ONLY)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_BINARY_DIR}/debian/files.cmake)
include(CPack)
