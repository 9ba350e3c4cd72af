# Run by CPack before it packs: takes what only debuggers read out of the static libraries, which
# CPACK_STRIP_FILES leaves as they are.
file(GLOB_RECURSE archives ${CPACK_TEMPORARY_DIRECTORY}/*.a)
foreach(archive IN LISTS archives)
  execute_process(COMMAND ${CPACK_KESTROVE_STRIP} --strip-debug --enable-deterministic-archives
    ${archive} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
