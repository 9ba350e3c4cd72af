# Compiles a target's sources a few at a time, where most of a source's compiling is the headers of
# other libraries: that halves it. A build that looks at every source alone sets CMAKE_UNITY_BUILD to
# OFF.

function(kestrove_in_batches target)
  if(NOT DEFINED CMAKE_UNITY_BUILD)
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 6)
  endif()
endfunction()
