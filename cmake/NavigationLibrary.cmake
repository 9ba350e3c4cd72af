# Kestrove::Navigation, what an application links: client, waylines and the bundled runtime.

set(parts kestrove_wayline kestrove_api kestrove_runtime kestrove_recording)
list(TRANSFORM parts REPLACE "(.+)" "$<TARGET_OBJECTS:\\1>" OUTPUT_VARIABLE part_objects)
kestrove_closed_objects(closed_navigation PARTS ${parts})
if(BUILD_SHARED_LIBS)
  add_library(KestroveNavigation SHARED ${part_objects})
else()
  add_library(KestroveNavigation STATIC ${closed_navigation})
  set_target_properties(KestroveNavigation PROPERTIES LINKER_LANGUAGE CXX)
endif()
add_library(Kestrove::Navigation ALIAS KestroveNavigation)
set_target_properties(KestroveNavigation PROPERTIES
  OUTPUT_NAME kestrove-navigation
  EXPORT_NAME Navigation
  VERSION ${PROJECT_VERSION}
  SOVERSION ${PROJECT_VERSION_MAJOR})
target_compile_features(KestroveNavigation PUBLIC cxx_std_17)
target_link_libraries(KestroveNavigation PRIVATE $<BUILD_INTERFACE:kestrove_flags>)
get_target_property(library_kind KestroveNavigation TYPE)
if(library_kind STREQUAL SHARED_LIBRARY)
  set(exports ${PROJECT_SOURCE_DIR}/packaging/abi/libkestrove-navigation.map)
  # An application may have a class of the same name as one of ours: the library uses its own.
  # Casts across the border work all the same, because types are compared by their names.
  target_link_options(KestroveNavigation PRIVATE -Wl,--version-script=${exports} -Wl,-Bsymbolic)
  set_target_properties(KestroveNavigation PROPERTIES LINK_DEPENDS ${exports})
  if(KESTROVE_INSTALL)
    # Installed beside it, for programs that are to need no other file.
    add_library(KestroveNavigationStatic STATIC ${closed_navigation})
    set_target_properties(KestroveNavigationStatic PROPERTIES
      LINKER_LANGUAGE CXX
      OUTPUT_NAME kestrove-navigation
      EXPORT_NAME NavigationStatic)
    target_compile_features(KestroveNavigationStatic PUBLIC cxx_std_17)
    target_include_directories(KestroveNavigationStatic
      INTERFACE $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/kestrove>)
  endif()
endif()
kestrove_include_root(KestroveNavigation PUBLIC core platform wayline api)
target_include_directories(KestroveNavigation
  INTERFACE $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/kestrove>)

# The record of the binary interface is made from the types in the debug information, which a build may
# leave out elsewhere.
foreach(part IN LISTS parts)
  target_compile_options(${part} PRIVATE $<$<CONFIG:RelWithDebInfo>:-g2>)
endforeach()

# The same objects and the service side, internals included: for our programs and tests.
add_library(kestrove_internal STATIC ${part_objects} $<TARGET_OBJECTS:kestrove_server>)
target_link_libraries(kestrove_internal PRIVATE kestrove_flags)
