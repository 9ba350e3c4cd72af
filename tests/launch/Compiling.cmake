# How all targets of the tests are compiled; included when all of them are there.

# GoogleTest's headers are most of what a test's source reads, so that they are compiled once. The
# program runs nothing; the headers belong to it because all that share them need its flags.
add_executable(kestrove_test_headers launch/Headers.cpp)
target_link_libraries(kestrove_test_headers PRIVATE kestrove_flags GTest::gmock_main)
target_precompile_headers(kestrove_test_headers PRIVATE
  <gmock/gmock.h> <gtest/gtest.h> <chrono> <fstream> <functional> <map> <memory> <sstream>
  <string> <thread> <vector>)

function(kestrove_compile_fast target)
  # The system library's checks of sizes want optimisation.
  set_target_properties(${target} PROPERTIES KESTROVE_IS_UNOPTIMISED TRUE)
  # Tests of a kind use the same names, a table Rows() each; those stay apart in any build.
  get_target_property(is_in_batches ${target} KESTROVE_IS_IN_BATCHES)
  if(NOT is_in_batches)
    set_target_properties(${target} PROPERTIES UNITY_BUILD OFF)
  endif()
  get_target_property(libraries ${target} LINK_LIBRARIES)
  if(libraries MATCHES "GTest::" AND NOT target STREQUAL kestrove_test_headers)
    target_precompile_headers(${target} REUSE_FROM kestrove_test_headers)
    # ccache keeps what precompiled headers go into only where it sees that they do.
    target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fpch-preprocess>)
    get_target_property(type ${target} TYPE)
    if(NOT type STREQUAL EXECUTABLE) # its objects go into programs alone, and are compiled as those
      set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE OFF)
      target_compile_options(${target} PRIVATE -fPIE)
    endif()
  endif()
endfunction()

function(kestrove_compile_fast_below folder)
  get_property(targets DIRECTORY ${folder} PROPERTY BUILDSYSTEM_TARGETS)
  foreach(target IN LISTS targets)
    get_target_property(type ${target} TYPE)
    if(type MATCHES "EXECUTABLE|_LIBRARY" AND NOT type STREQUAL INTERFACE_LIBRARY)
      kestrove_compile_fast(${target})
    endif()
  endforeach()
  get_property(folders DIRECTORY ${folder} PROPERTY SUBDIRECTORIES)
  foreach(below IN LISTS folders)
    kestrove_compile_fast_below(${below})
  endforeach()
endfunction()
kestrove_compile_fast_below(${CMAKE_CURRENT_SOURCE_DIR})
