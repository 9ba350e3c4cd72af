# Compiles a target's sources a few at a time, where most of a source's compiling is the headers of
# other libraries: that halves it. A build that looks at every source alone sets CMAKE_UNITY_BUILD to
# OFF, one with other batches CMAKE_UNITY_BUILD_BATCH_SIZE (0: all of a target's sources at once).

function(kestrove_in_batches target)
  set_target_properties(${target} PROPERTIES KESTROVE_IS_IN_BATCHES TRUE)
  if(NOT DEFINED CMAKE_UNITY_BUILD)
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON)
  endif()
  if(NOT DEFINED CMAKE_UNITY_BUILD_BATCH_SIZE)
    set_target_properties(${target} PROPERTIES UNITY_BUILD_BATCH_SIZE 6)
  endif()
endfunction()
