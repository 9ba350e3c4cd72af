# A static library that brings a program its own names alone, and calls its own functions: what it is
# made of is linked into one object first (see close_objects.sh). What the sanitizers add to objects
# does not outlive that, and what is compiled while it is linked is none yet, so such builds have the
# objects as they are.
set(KESTROVE_CLOSES_ARCHIVES TRUE)
if(KESTROVE_SANITIZERS OR CMAKE_INTERPROCEDURAL_OPTIMIZATION OR CMAKE_CXX_FLAGS MATCHES "-flto")
  set(KESTROVE_CLOSES_ARCHIVES FALSE)
else()
  # lld cannot do it.
  find_program(KESTROVE_LD NAMES ld.bfd ld REQUIRED)
  find_program(KESTROVE_OBJDUMP NAMES objdump REQUIRED)
  find_program(KESTROVE_OBJCOPY NAMES objcopy REQUIRED)
  mark_as_advanced(KESTROVE_LD KESTROVE_OBJDUMP KESTROVE_OBJCOPY)
endif()

# Sets a variable to the objects of a static library.
#
#   PARTS    the object libraries that it is made of
#   PATTERN  names for programs, beside those that are visible, as a regular expression of awk's
function(kestrove_closed_objects variable)
  cmake_parse_arguments(CLOSED "" "PATTERN" "PARTS;ARCHIVES" ${ARGN})
  list(TRANSFORM CLOSED_PARTS REPLACE "(.+)" "$<TARGET_OBJECTS:\\1>" OUTPUT_VARIABLE objects)
  if(KESTROVE_CLOSES_ARCHIVES)
    set(pattern ^$) # no name
    if(CLOSED_PATTERN)
      set(pattern ${CLOSED_PATTERN})
    endif()
    set(script ${PROJECT_SOURCE_DIR}/cmake/close_objects.sh)
    set(closed ${CMAKE_CURRENT_BINARY_DIR}/${variable}.o)
    add_custom_command(OUTPUT ${closed}
      COMMAND ${script} ${KESTROVE_LD} ${KESTROVE_OBJCOPY} ${KESTROVE_OBJDUMP} ${pattern}
        ${closed} ${objects} ${CLOSED_ARCHIVES}
      DEPENDS ${script} ${objects} COMMAND_EXPAND_LISTS VERBATIM)
    set_source_files_properties(${closed} PROPERTIES EXTERNAL_OBJECT TRUE GENERATED TRUE)
    set(objects ${closed})
  endif()
  set(${variable} ${objects} PARENT_SCOPE)
endfunction()
