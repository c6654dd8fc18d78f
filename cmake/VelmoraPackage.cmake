# What makes the installed libraries a package that CMake and pkg-config find, and the packages that
# CPack makes of everything.
include(CMakePackageConfigHelpers)
set(folder ${CMAKE_INSTALL_LIBDIR}/cmake/velmora)
set(VELMORA_COMPONENTS retrieval contract)
if(VELMORA_BUILD_HOST)
  list(APPEND VELMORA_COMPONENTS host)
endif()
foreach(component IN LISTS VELMORA_COMPONENTS)
  install(EXPORT velmora_${component} NAMESPACE velmora:: FILE velmora-${component}.cmake
    DESTINATION ${folder} COMPONENT development)
endforeach()
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/velmoraConfig.cmake.in
  ${PROJECT_BINARY_DIR}/velmoraConfig.cmake INSTALL_DESTINATION ${folder})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/velmoraConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/velmoraConfig.cmake
  ${PROJECT_BINARY_DIR}/velmoraConfigVersion.cmake DESTINATION ${folder} COMPONENT development)

set(pages velmora-retrieval)
if(VELMORA_BUILD_HOST)
  list(APPEND pages velmora)
endif()
# From the folder of the pages to the prefix: an installed tree may be moved.
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX
  BASE_DIRECTORY ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig OUTPUT_VARIABLE VELMORA_PREFIX)
foreach(page IN LISTS pages)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/${page}.pc.in ${PROJECT_BINARY_DIR}/${page}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${page}.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endforeach()
include(VelmoraDebian)
