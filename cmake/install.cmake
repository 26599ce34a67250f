# Install layout, CMake package, pkg-config file and the Debian package.
#
#   bin/vormi                                   the host (finds the library in ../lib or beside itself)
#   lib/libVormiEngine.so*                      the library with its soname links
#   include/vormi/<folder>/<header>.h           the public headers, nothing internal
#   lib/cmake/VormiEngine/                      find_package(VormiEngine CONFIG)
#   lib/pkgconfig/vormi-engine.pc               pkg-config
#   share/vormi/test/                           the assets the host copies into a per-user folder
#   share/doc/VormiEngine/                      sdk.md, formats.md and the examples

include(CMakePackageConfigHelpers)

# The headers a host needs. Each compiles on its own with the package's flags, and every symbol they
# declare is exported from the library.
set(VORMI_PUBLIC_HEADERS
  engine/api.h
  engine/console_output.h
  engine/engine_common.h
  console/tokenizer.h
  console/command_system.h
  console/cvar.h
  render/draw_types.h
  render/renderer.h
  resources/file_system.h
  resources/font_system.h
  resources/model_mgr.h
  resources/texture_mgr.h
  input/input_system.h
  ui/panel.h
  ui/label.h
  ui/button.h
  ui/toggle_button.h
  ui/grab_bar.h
  ui/image_panel.h
  ui/form.h
  ui/text_edit.h
  ui/text_box.h
  ui/rich_text_box.h
  ui/root_panel.h
  ui/model_panel.h
  ui/widget_factory.h)
foreach(header IN LISTS VORMI_PUBLIC_HEADERS)
  get_filename_component(dir ${header} DIRECTORY)
  install(FILES ${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vormi/${dir})
endforeach()

# Headers only, for hosts that dlopen the library: the include folder and SDL's include flags, no link.
add_library(VormiHeaders INTERFACE)
target_include_directories(VormiHeaders INTERFACE
  $<BUILD_INTERFACE:${CMAKE_SOURCE_DIR}> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/vormi>
  $<TARGET_PROPERTY:PkgConfig::SDL2,INTERFACE_INCLUDE_DIRECTORIES>)
target_link_libraries(VormiHeaders INTERFACE ${CMAKE_DL_LIBS})

set_target_properties(VormiEngine PROPERTIES EXPORT_NAME Engine)
set_target_properties(VormiHeaders PROPERTIES EXPORT_NAME Headers)
install(TARGETS VormiEngine VormiHeaders EXPORT VormiEngineTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS vormi vormi-convert RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})

set(VORMI_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/VormiEngine)
install(EXPORT VormiEngineTargets NAMESPACE Vormi:: DESTINATION ${VORMI_CMAKE_DIR})
configure_package_config_file(cmake/VormiEngineConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/VormiEngineConfig.cmake INSTALL_DESTINATION ${VORMI_CMAKE_DIR})
# 0.x releases may change the binary contract between minor versions.
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/VormiEngineConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/VormiEngineConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/VormiEngineConfigVersion.cmake DESTINATION ${VORMI_CMAKE_DIR})

# The .pc file finds its prefix from its own location, so an extracted or moved install still works.
file(RELATIVE_PATH VORMI_PC_TO_PREFIX
  ${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" VORMI_PC_TO_PREFIX "${VORMI_PC_TO_PREFIX}")
configure_file(cmake/vormi-engine.pc.in ${CMAKE_CURRENT_BINARY_DIR}/vormi-engine.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/vormi-engine.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# The asset tree without what a run writes into it.
install(DIRECTORY test/ DESTINATION ${CMAKE_INSTALL_DATADIR}/vormi/test
  PATTERN "cvars.txt*" EXCLUDE
  PATTERN "con_history.txt*" EXCLUDE
  PATTERN "binds.cfg*" EXCLUDE)
install(FILES docs/sdk.md docs/formats.md docs/assets.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DOCDIR})

set(CPACK_PACKAGE_NAME vormi-engine)
set(CPACK_PACKAGE_VENDOR "Vormi Engine developers")
set(CPACK_PACKAGE_CONTACT "Vormi Engine developers <dev@vormi.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Small interactive engine library with its host, headers and assets")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_GENERATOR DEB)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libsdl2-2.0-0 (>= 2.0.18), libsdl2-ttf-2.0-0 (>= 2.20.0), libgl1, libsdl2-image-2.0-0, libassimp5")
# What building a host against the headers and the CMake or pkg-config files needs.
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "libsdl2-dev, libsdl2-ttf-dev, libgl-dev, pkg-config, cmake, g++")
include(CPack)
