# How tests are started. Every test goes through tests/launch/launch, which gives its process a
# network of its own: no test can meet another, and all may run side by side.

if(KESTROVE_BUILD_TESTS)
  # The system's own Python: it has the distribution's packages.
  find_program(KESTROVE_SYSTEM_PYTHON python3 PATHS /usr/bin NO_DEFAULT_PATH REQUIRED)
endif()
set(KESTROVE_TEST_NOTES ${PROJECT_BINARY_DIR}/test-notes)
set(KESTROVE_TEST_LAUNCHER ${PROJECT_SOURCE_DIR}/tests/launch/launch ${KESTROVE_TEST_NOTES})

# A test, as add_test(NAME ... COMMAND ...) makes it.
function(kestrove_add_test)
  cmake_parse_arguments(TEST "COMMAND_EXPAND_LISTS" "NAME;WORKING_DIRECTORY" "COMMAND" ${ARGN})
  list(POP_FRONT TEST_COMMAND program)
  if(TARGET ${program})
    set(program $<TARGET_FILE:${program}>)
  endif()
  set(options)
  if(TEST_WORKING_DIRECTORY)
    list(APPEND options WORKING_DIRECTORY ${TEST_WORKING_DIRECTORY})
  endif()
  if(TEST_COMMAND_EXPAND_LISTS)
    list(APPEND options COMMAND_EXPAND_LISTS)
  endif()
  add_test(NAME ${TEST_NAME} COMMAND ${KESTROVE_TEST_LAUNCHER} ${program} ${TEST_COMMAND} ${options})
endfunction()

# The tests of a program that links GoogleTest, run by tests/launch/run_gtest.py in one process.
#
#   SHARDS      over how many CTest tests they are spread, where they take long; default 1
#   TIMEOUT     how many seconds one of them may take; default 120
#   ALONE       patterns of those that need a process each, as --gtest_filter takes them
#   PROPERTIES  further properties of the CTest tests
function(kestrove_gtest target)
  cmake_parse_arguments(TEST "" "SHARDS;TIMEOUT;WORKING_DIRECTORY" "ALONE;PROPERTIES" ${ARGN})
  if(NOT TEST_SHARDS)
    set(TEST_SHARDS 1)
  endif()
  if(NOT TEST_TIMEOUT)
    set(TEST_TIMEOUT 120)
  endif()
  set(directory)
  if(TEST_WORKING_DIRECTORY)
    set(directory WORKING_DIRECTORY ${TEST_WORKING_DIRECTORY})
  endif()
  if(TIMEOUT IN_LIST TEST_PROPERTIES)
    message(FATAL_ERROR "${target}: TIMEOUT is that of one test and stands before PROPERTIES")
  endif()
  list(JOIN TEST_ALONE ":" alone)
  foreach(shard RANGE 1 ${TEST_SHARDS})
    set(name ${target})
    if(TEST_SHARDS GREATER 1)
      set(name ${target}.${shard}of${TEST_SHARDS})
    endif()
    kestrove_add_test(NAME ${name}
      COMMAND ${KESTROVE_SYSTEM_PYTHON} -B ${PROJECT_SOURCE_DIR}/tests/launch/run_gtest.py
        --name ${name} --notes ${KESTROVE_TEST_NOTES} --shard ${shard}/${TEST_SHARDS}
        --timeout ${TEST_TIMEOUT} --alone=${alone} $<TARGET_FILE:${target}>
      ${directory})
    # The runner's own end comes first.
    set_tests_properties(${name} PROPERTIES TIMEOUT 1800 SKIP_RETURN_CODE 77 ${TEST_PROPERTIES})
  endforeach()
endfunction()
