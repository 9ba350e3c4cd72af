# A module of Python unit tests in the current folder, run by tests/launch/run_unittest.py, which notes
# what was skipped.
function(kestrove_python_test name module)
  kestrove_add_test(NAME ${name}
    COMMAND ${KESTROVE_SYSTEM_PYTHON} -B ${PROJECT_SOURCE_DIR}/tests/launch/run_unittest.py
      --name ${name} --notes ${KESTROVE_TEST_NOTES} ${module}
    WORKING_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR})
  set_tests_properties(${name} PROPERTIES SKIP_RETURN_CODE 77)
endfunction()

# A test that cannot be run here: it is seen to be skipped, with the reason.
function(kestrove_skipped_test name reason)
  kestrove_add_test(NAME ${name}
    COMMAND sh -c "mkdir -p \"$1\" && echo \"skipped: $2: $3\" >\"$1/skipped-$2\" && exit 77"
      sh ${KESTROVE_TEST_NOTES} ${name} ${reason})
  set_tests_properties(${name} PROPERTIES SKIP_RETURN_CODE 77)
endfunction()

# A test that is no longer skipped leaves no note of that.
function(kestrove_forget_skipped name)
  file(REMOVE ${KESTROVE_TEST_NOTES}/skipped-${name})
endfunction()
