# Who may include whom: every target gets an include root of its own that shows just the folders it
# may know. An include of any other folder by its name does not compile; one by a relative way is
# refused by tests/tooling/check_sources.py. `simulator/world` shows that one room of a folder.

function(kestrove_include_root target scope)
  set(root ${PROJECT_BINARY_DIR}/include-roots/${target})
  foreach(folder IN LISTS ARGN)
    get_filename_component(parent ${root}/${folder} DIRECTORY)
    if(IS_SYMLINK ${parent})
      file(REMOVE ${parent})
    endif()
    file(MAKE_DIRECTORY ${parent})
    if(NOT EXISTS ${root}/${folder})
      file(CREATE_LINK ${PROJECT_SOURCE_DIR}/${folder} ${root}/${folder} SYMBOLIC)
    endif()
  endforeach()
  target_include_directories(${target} ${scope} $<BUILD_INTERFACE:${root}>)
endfunction()

# A folder of the library: its sources as objects, so that the library, the internal archive and the
# unit tests can each take what they need.
function(kestrove_folder target)
  cmake_parse_arguments(FOLDER "" "" "SOURCES;MAY_INCLUDE" ${ARGN})
  add_library(${target} OBJECT ${FOLDER_SOURCES})
  target_link_libraries(${target} PRIVATE kestrove_flags)
  kestrove_include_root(${target} PRIVATE ${FOLDER_MAY_INCLUDE})
endfunction()
