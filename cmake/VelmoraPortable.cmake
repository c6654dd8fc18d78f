# Programs that run wherever the C library is as new as here: all else that they link is inside. Nothing
# links libcurl, which is loaded when a server is asked (host/src/http/curl.h).
set(CMAKE_FIND_LIBRARY_SUFFIXES .a)
set(CMAKE_FIND_PACKAGE_TARGETS_GLOBAL ON)
find_package(ICU REQUIRED COMPONENTS uc)
add_library(velmora_icu_data STATIC ${PROJECT_SOURCE_DIR}/cmake/icu_data.c)
target_include_directories(velmora_icu_data PRIVATE ${ICU_INCLUDE_DIRS})
target_link_libraries(ICU::uc INTERFACE velmora_icu_data)
add_link_options(-static-libstdc++ -static-libgcc)
