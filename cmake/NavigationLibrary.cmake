# Kestrove::Navigation, what an application links: client, waylines and the bundled runtime.

add_library(KestroveNavigation
  $<TARGET_OBJECTS:kestrove_wayline> $<TARGET_OBJECTS:kestrove_api>
  $<TARGET_OBJECTS:kestrove_runtime>)
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
    add_library(KestroveNavigationStatic STATIC
      $<TARGET_OBJECTS:kestrove_wayline> $<TARGET_OBJECTS:kestrove_api>
      $<TARGET_OBJECTS:kestrove_runtime>)
    set_target_properties(KestroveNavigationStatic PROPERTIES
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
foreach(part kestrove_wayline kestrove_api kestrove_runtime)
  target_compile_options(${part} PRIVATE $<$<CONFIG:RelWithDebInfo>:-g2>)
endforeach()

# The same objects and the service side, internals included: for our programs and tests.
add_library(kestrove_internal STATIC
  $<TARGET_OBJECTS:kestrove_wayline> $<TARGET_OBJECTS:kestrove_api>
  $<TARGET_OBJECTS:kestrove_runtime> $<TARGET_OBJECTS:kestrove_server>)
target_link_libraries(kestrove_internal PRIVATE kestrove_flags)
