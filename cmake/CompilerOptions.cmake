# orvanedga_options: the warnings and sanitizers every target of this project is built with; orvanedga_warnings
# alone is for programs that the build itself runs.
include(CheckCXXCompilerFlag)
add_library(orvanedga_warnings INTERFACE)
add_library(orvanedga_options INTERFACE)
target_link_libraries(orvanedga_options INTERFACE orvanedga_warnings)
target_compile_options(orvanedga_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wformat=2 -Wcast-align -Wundef
  $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Woverloaded-virtual -Wextra-semi>)
if(ORVANEDGA_WERROR)
  target_compile_options(orvanedga_warnings INTERFACE -Werror)
endif()
if(NOT ORVANEDGA_SANITIZE)
  # What an empty optional or an index beyond the end would do unseen ends a debug build, and so its tests. The
  # sanitizer builds run the same tests, and need not see it twice.
  target_compile_definitions(orvanedga_options INTERFACE
    $<$<AND:$<CONFIG:Debug>,$<COMPILE_LANGUAGE:CXX>>:_GLIBCXX_ASSERTIONS>)
endif()
if(ORVANEDGA_SANITIZE)
  target_compile_options(orvanedga_options INTERFACE
    -fsanitize=${ORVANEDGA_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all
    # GCC 12 takes members of the standard library for uninitialised once a sanitizer has changed the code.
    "$<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized;-Wno-uninitialized>")
  target_link_options(orvanedga_options INTERFACE -fsanitize=${ORVANEDGA_SANITIZE})
else()
  # A product's build: hardened, and the same wherever its sources lie.
  set(product -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3 -fstack-clash-protection
    -ffile-prefix-map=${PROJECT_SOURCE_DIR}=. -ffile-prefix-map=${PROJECT_BINARY_DIR}=build)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 12)
    list(TRANSFORM product REPLACE "_SOURCE=3" "_SOURCE=2")
  endif()
  check_cxx_compiler_flag(-fcf-protection=full ORVANEDGA_HAS_CF_PROTECTION)
  if(ORVANEDGA_HAS_CF_PROTECTION)
    list(APPEND product -fcf-protection=full)
  endif()
  target_compile_options(orvanedga_options INTERFACE
    "$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:${product}>" -fstack-protector-strong)
  target_link_options(orvanedga_options INTERFACE -Wl,-z,relro,-z,now -Wl,--as-needed -Wl,--build-id=sha1)
endif()

# The note by which a crash tells of which package a program or library is: systemd.io/ELF_PACKAGE_METADATA.
set(ORVANEDGA_PACKAGE_TYPE bundle CACHE STRING "Type of the packages in their notes: bundle, deb, rpm")
set(note
  "{\"type\":\"${ORVANEDGA_PACKAGE_TYPE}\",\"name\":\"${PROJECT_NAME}\",\"version\":\"${PROJECT_VERSION}\",\"architecture\":\"${CMAKE_SYSTEM_PROCESSOR}\"}")
set(package_note "SHELL:-Xlinker '--package-metadata=${note}'")
include(CheckLinkerFlag)
check_linker_flag(CXX "SHELL:-Xlinker --package-metadata={}" ORVANEDGA_HAS_PACKAGE_NOTES)
if(ORVANEDGA_HAS_PACKAGE_NOTES)
  target_link_options(orvanedga_options INTERFACE "${package_note}")
endif()

# orvanedga_add_layer(<name> [SMALL] SOURCES ... [LINK ...]): one source folder as one library. The objects
# of the core's folders end up in libdgacore, once, so that its singletons exist once per process. SMALL is for
# what runs seldom: it stays in memory for as long as the client runs.
function(orvanedga_add_layer name)
  cmake_parse_arguments(ARG "SMALL" "" "SOURCES;LINK" ${ARGN})
  add_library(${name} OBJECT ${ARG_SOURCES})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/src ${PROJECT_BINARY_DIR}/generated)
  target_link_libraries(${name} PUBLIC ${ARG_LINK} PRIVATE orvanedga_options)
  if(ARG_SMALL)
    target_compile_options(${name} PRIVATE "$<$<CONFIG:Release,RelWithDebInfo>:-Os>")
  endif()
endfunction()

# orvanedga_use_forms(LAYER FORMS name... SOURCES file...): files of the layer that include "ui_<name>.h", which is made of
# resources/<name>.ui.
function(orvanedga_use_forms layer)
  cmake_parse_arguments(ARG "" "" "FORMS;SOURCES" ${ARGN})
  set_target_properties(${layer} PROPERTIES
    AUTOMOC ON AUTOUIC ON AUTOUIC_SEARCH_PATHS ${PROJECT_SOURCE_DIR}/resources)
  # Ninja looks at those headers before they are made anew, and would compile a changed form only with the next build.
  list(TRANSFORM ARG_FORMS REPLACE "(.+)" "${PROJECT_SOURCE_DIR}/resources/\\1.ui")
  set_property(SOURCE ${ARG_SOURCES} APPEND PROPERTY OBJECT_DEPENDS ${ARG_FORMS})
endfunction()
