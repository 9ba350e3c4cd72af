include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(TARGETS KestroveNavigation EXPORT KestroveNavigationTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
foreach(folder core platform wayline api)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/${folder} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kestrove
    FILES_MATCHING PATTERN "*.h" PATTERN "CallFrame.h" EXCLUDE
    PATTERN "NumberText.h" EXCLUDE)
endforeach()
if(KESTROVE_BUILD_TESTING_LIBRARY)
  install(TARGETS KestroveNavigationTesting EXPORT KestroveNavigationTargets
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/testing
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kestrove FILES_MATCHING PATTERN "*.h"
    PATTERN "CallScript.h" EXCLUDE PATTERN "ScriptedServiceState.h" EXCLUDE)
endif()

set(package_directory ${CMAKE_INSTALL_LIBDIR}/cmake/KestroveNavigation)
install(EXPORT KestroveNavigationTargets NAMESPACE Kestrove:: DESTINATION ${package_directory}
  FILE KestroveNavigationTargets.cmake)
configure_package_config_file(
  ${PROJECT_SOURCE_DIR}/cmake/KestroveNavigationConfig.cmake.in
  ${PROJECT_BINARY_DIR}/KestroveNavigationConfig.cmake
  INSTALL_DESTINATION ${package_directory})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/KestroveNavigationConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/KestroveNavigationConfig.cmake
  ${PROJECT_BINARY_DIR}/KestroveNavigationConfigVersion.cmake
  DESTINATION ${package_directory})

if(BUILD_SHARED_LIBS)
  set(KESTROVE_PKGCONFIG_LIBS "-L\${libdir} -lkestrove-navigation")
else()
  set(KESTROVE_PKGCONFIG_LIBS "-L\${libdir} -lkestrove-navigation -lstdc++ -lm")
endif()
configure_file(${PROJECT_SOURCE_DIR}/cmake/kestrove-navigation.pc.in
  ${PROJECT_BINARY_DIR}/kestrove-navigation.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/kestrove-navigation.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
