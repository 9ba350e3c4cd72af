# What is the same for every operation, made from operations/operations.json. The programs and the
# bindings need it, and with it Python; the library does not.

# Has a file made of the template of its name in operations/templates.
function(kestrove_make_of_operations output)
  find_program(KESTROVE_MAKER_PYTHON python3)
  if(NOT KESTROVE_MAKER_PYTHON)
    message(FATAL_ERROR "The programs and the bindings are built with Python 3. Install:\n"
      "  apt-get install python3\n"
      "or leave them out with -DKESTROVE_BUILD_PROGRAMS=OFF -DKESTROVE_BUILD_PYTHON=OFF")
  endif()
  set(directory ${PROJECT_SOURCE_DIR}/operations)
  cmake_path(GET output FILENAME template)
  add_custom_command(OUTPUT ${output}
    COMMAND ${KESTROVE_MAKER_PYTHON} -B ${directory}/make.py ${template} ${output}
    DEPENDS ${directory}/make.py ${directory}/operations.json ${directory}/templates/${template}.in
    VERBATIM)
endfunction()
