# What `cmake --install` lays down: the libraries, their public headers, and what find_package and
# pkg-config need to find them.

if(NOT KESTROVE_INSTALL)
  return()
endif()
include(CMakePackageConfigHelpers)

install(TARGETS KestroveNavigation EXPORT KestroveNavigationTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    COMPONENT library NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
if(TARGET KestroveNavigationStatic)
  install(TARGETS KestroveNavigationStatic EXPORT KestroveNavigationTargets
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
endif()
if(KESTROVE_BUILD_TESTING_LIBRARY)
  install(TARGETS KestroveNavigationTesting EXPORT KestroveNavigationTargets
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
endif()

file(GLOB public_headers RELATIVE ${PROJECT_SOURCE_DIR} CONFIGURE_DEPENDS
  core/*.h platform/*.h wayline/*.h api/*.h)
list(REMOVE_ITEM public_headers api/CallFrame.h wayline/NumberText.h
  wayline/TracePrinting.h)
if(KESTROVE_BUILD_TESTING_LIBRARY)
  list(APPEND public_headers testing/Answer.h testing/DrivingService.h testing/ScriptedService.h
    testing/Value.h)
endif()
set(copied_headers ${PROJECT_BINARY_DIR}/installed-headers)
install(CODE "
  set(SOURCE \"${PROJECT_SOURCE_DIR}\")
  set(OUTPUT \"${copied_headers}\")
  set(HEADERS \"${public_headers}\")
  include(\"${PROJECT_SOURCE_DIR}/cmake/InstallHeaders.cmake\")"
  COMPONENT development)
install(DIRECTORY ${copied_headers}/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kestrove
  COMPONENT development)

set(package_directory ${CMAKE_INSTALL_LIBDIR}/cmake/KestroveNavigation)
install(EXPORT KestroveNavigationTargets NAMESPACE Kestrove::
  DESTINATION ${package_directory} COMPONENT development)
configure_package_config_file(
  ${PROJECT_SOURCE_DIR}/cmake/KestroveNavigationConfig.cmake.in
  ${PROJECT_BINARY_DIR}/KestroveNavigationConfig.cmake
  INSTALL_DESTINATION ${package_directory})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/KestroveNavigationConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/KestroveNavigationConfig.cmake
  ${PROJECT_BINARY_DIR}/KestroveNavigationConfigVersion.cmake
  DESTINATION ${package_directory} COMPONENT development)

# pkg-config finds the prefix from where the file lies, so that the installation can be moved.
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX
  BASE_DIRECTORY ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig OUTPUT_VARIABLE KESTROVE_PREFIX_FROM_PC)
set(modules kestrove-navigation)
if(KESTROVE_BUILD_TESTING_LIBRARY)
  list(APPEND modules kestrove-navigation-testing)
endif()
foreach(module IN LISTS modules)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/${module}.pc.in ${PROJECT_BINARY_DIR}/${module}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${module}.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endforeach()
