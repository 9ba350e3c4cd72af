# How all targets of the tests are compiled; included when all of them are there.

# GoogleTest's headers are most of what a test's source reads, so that they are compiled once. The
# program runs nothing; the headers belong to it because all that share them need its flags. ccache
# keeps nothing that such headers go into.
set(precompile ON)
if(CMAKE_CXX_COMPILER_LAUNCHER MATCHES ccache)
  set(precompile OFF)
endif()
if(precompile)
  add_executable(kestrove_test_headers launch/Headers.cpp)
  target_link_libraries(kestrove_test_headers PRIVATE kestrove_flags GTest::gmock_main)
  target_precompile_headers(kestrove_test_headers PRIVATE
    <gmock/gmock.h> <gtest/gtest.h> <chrono> <fstream> <functional> <map> <memory> <sstream>
    <string> <thread> <vector>)
endif()

function(kestrove_compile_fast target)
  # The system library's checks of sizes want optimisation.
  set_target_properties(${target} PROPERTIES KESTROVE_IS_UNOPTIMISED TRUE)
  get_target_property(libraries ${target} LINK_LIBRARIES)
  if(precompile AND libraries MATCHES "GTest::" AND NOT target STREQUAL kestrove_test_headers)
    target_precompile_headers(${target} REUSE_FROM kestrove_test_headers)
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
