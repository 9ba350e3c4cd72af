# Options, language level and compiler flags. Warnings and sanitizers stay private to our own
# targets: an application that builds the library inside its own tree inherits none of them.

# Inside another project that project's choice counts, and it must not find one made for it.
if(PROJECT_IS_TOP_LEVEL)
  option(BUILD_SHARED_LIBS "Build Kestrove::Navigation as a shared library" ON)
endif()
option(KESTROVE_INSTALL "Install the library with its headers" ${PROJECT_IS_TOP_LEVEL})
option(KESTROVE_BUILD_TESTING_LIBRARY "Build Kestrove::NavigationTesting" ON)
option(KESTROVE_BUILD_PROGRAMS "Build the programs" ${PROJECT_IS_TOP_LEVEL})
option(KESTROVE_BUILD_EXAMPLES "Build the examples" ${PROJECT_IS_TOP_LEVEL})
option(KESTROVE_BUILD_TESTS "Build the tests" ${PROJECT_IS_TOP_LEVEL})
option(KESTROVE_BUILD_PYTHON "Build the Python bindings, where pybind11 is; REQUIRED: or fail"
  ${PROJECT_IS_TOP_LEVEL})
option(KESTROVE_BUILD_BENCHMARKS "Build the benchmarks" OFF)
option(KESTROVE_FUZZERS "Build the fuzz targets as fuzzers, and no other tests; needs clang" OFF)
option(KESTROVE_WARNINGS_AS_ERRORS "Treat warnings as errors" OFF)
set(KESTROVE_SANITIZERS "" CACHE STRING "Sanitizers to build with, for example address,undefined")

include(GNUInstallDirs)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

add_library(kestrove_flags INTERFACE)
target_compile_features(kestrove_flags INTERFACE cxx_std_17)
target_compile_options(kestrove_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wformat=2)
# The library calls its own functions, so that they can be inlined; clang takes that for granted.
target_compile_options(kestrove_flags INTERFACE
  $<$<CXX_COMPILER_ID:GNU>:-fno-semantic-interposition>)
# Of a name that is unique all libraries of a process share one, whatever each links.
target_compile_options(kestrove_flags INTERFACE $<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>)
# g++ takes the sources of a batch for headers, whose classes had better not use unnamed namespaces.
target_compile_options(kestrove_flags INTERFACE
  $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>)
# clang counts the typed tests of GoogleTest, which leave an argument out, as an extension.
target_compile_options(kestrove_flags INTERFACE
  $<$<CXX_COMPILER_ID:Clang>:-Wno-gnu-zero-variadic-macro-arguments>)
if(KESTROVE_WARNINGS_AS_ERRORS)
  target_compile_options(kestrove_flags INTERFACE -Werror)
endif()
# A machine steers itself by these programs: what the compiler can turn from silent damage into a
# clean end, it does. Builds with sanitizers have those checks instead.
include(CheckPIESupported)
check_pie_supported()
if(NOT KESTROVE_SANITIZERS)
  set(unoptimised $<OR:$<CONFIG:Debug>,$<BOOL:$<TARGET_PROPERTY:KESTROVE_IS_UNOPTIMISED>>>)
  target_compile_options(kestrove_flags INTERFACE
    -fstack-protector-strong -fstack-clash-protection
    $<$<STREQUAL:${CMAKE_SYSTEM_PROCESSOR},x86_64>:-fcf-protection>
    $<$<NOT:${unoptimised}>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>)
  target_compile_definitions(kestrove_flags INTERFACE _GLIBCXX_ASSERTIONS)
  target_link_options(kestrove_flags INTERFACE
    -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
endif()
if(KESTROVE_SANITIZERS)
  target_compile_options(kestrove_flags INTERFACE
    -fsanitize=${KESTROVE_SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer
    -fno-sanitize=vptr) # opens a pipe to look, and takes none left for a broken object
  # g++ takes members of the standard library for unset when a sanitizer stands between, and warns of
  # the fences in Asio, which the thread sanitizer does not follow; Asio's locks, which it does, are
  # what the threads meet at.
  target_compile_options(kestrove_flags INTERFACE
    $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized;-Wno-tsan>)
  target_link_options(kestrove_flags INTERFACE -fsanitize=${KESTROVE_SANITIZERS})
endif()
if(KESTROVE_FUZZERS)
  target_compile_options(kestrove_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()
