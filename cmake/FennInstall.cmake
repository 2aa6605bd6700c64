# Installation in the GNU layout, the CMake package (find_package(FennEvpn)), the pkg-config
# files and the Debian packages. docs/integration.md describes how a consumer uses them.
#
#   <prefix>/lib/libFennEvpn.so.0, libFennPlatform.so.0        component Runtime
#   <prefix>/include/fenn/{FennEvpn,Qor,Keel,...}/*.h           component Development
#   <prefix>/lib/libFennEvpn.so, libFennPlatform.so (links)     component Development
#   <prefix>/lib/cmake/FennEvpn/, <prefix>/lib/pkgconfig/       component Development
#   <prefix>/bin/fenn-sim, fenn-ringlog                         component Tools
#   <prefix>/share/fenn/scenarios/*.yaml                        component Tools
#
# Headers go under include/fenn/ because the platform's directory names (Qor, Keel, Vasp...)
# are too generic to sit directly in a system include directory; sources keep including
# "Qor/Ptr.h" and "FennEvpn/FennEvpnHwTunnelIdSm.h", with include/fenn on the path.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(FENN_INSTALL_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR}/fenn)
set(FENN_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/FennEvpn)
set(FENN_INSTALL_SCENARIODIR ${CMAKE_INSTALL_DATADIR}/fenn/scenarios)

set_target_properties(FennPlatform PROPERTIES EXPORT_NAME FennPlatform)
set_target_properties(FennEvpn PROPERTIES EXPORT_NAME FennEvpn)
install(TARGETS FennPlatform FennEvpn
        EXPORT FennEvpnTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Runtime NAMELINK_COMPONENT Development
        INCLUDES DESTINATION ${FENN_INSTALL_INCLUDEDIR})

# Every header of the platform and of the library (every directory of src/ but the
# simulator's): the state machines' headers include their reactor and index templates, and
# some platform directories are headers only, so a chosen subset would not compile.
file(GLOB header_dirs LIST_DIRECTORIES true CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/*)
foreach(dir ${header_dirs})
  get_filename_component(name ${dir} NAME)
  if(IS_DIRECTORY ${dir} AND NOT name STREQUAL "sim")
    install(DIRECTORY ${dir}/
            DESTINATION ${FENN_INSTALL_INCLUDEDIR}/${name}
            COMPONENT Development
            FILES_MATCHING PATTERN "*.h")
  endif()
endforeach()

install(EXPORT FennEvpnTargets
        NAMESPACE FennEvpn::
        DESTINATION ${FENN_INSTALL_CMAKEDIR}
        COMPONENT Development)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/FennEvpnConfig.cmake.in
                              ${PROJECT_BINARY_DIR}/FennEvpnConfig.cmake
                              INSTALL_DESTINATION ${FENN_INSTALL_CMAKEDIR})
# The SONAME carries the major version, so any 0.x satisfies a request for 0.y with y <= x.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/FennEvpnConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/FennEvpnConfig.cmake ${PROJECT_BINARY_DIR}/FennEvpnConfigVersion.cmake
        DESTINATION ${FENN_INSTALL_CMAKEDIR}
        COMPONENT Development)

# pkg-config: the prefix is filled in at install time, so that it is the one installed to
# (`cmake --install --prefix DIR`, or /usr inside a Debian package).
set(FENN_PC_PREFIX "@FENN_PC_PREFIX@")
set(FENN_PC_LIBDIR ${CMAKE_INSTALL_FULL_LIBDIR})
set(FENN_PC_INCLUDEDIR ${CMAKE_INSTALL_FULL_INCLUDEDIR}/fenn)
if(NOT IS_ABSOLUTE ${CMAKE_INSTALL_LIBDIR})
  set(FENN_PC_LIBDIR "\${prefix}/${CMAKE_INSTALL_LIBDIR}")
endif()
if(NOT IS_ABSOLUTE ${FENN_INSTALL_INCLUDEDIR})
  set(FENN_PC_INCLUDEDIR "\${prefix}/${FENN_INSTALL_INCLUDEDIR}")
endif()
foreach(pc FennPlatform FennEvpn)
  set(pc_file ${PROJECT_BINARY_DIR}/pkgconfig/${pc}.pc)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/${pc}.pc.in ${pc_file}.in @ONLY)
  install(CODE "set(FENN_PC_PREFIX \"\${CMAKE_INSTALL_PREFIX}\")
                configure_file(${pc_file}.in ${pc_file} @ONLY)"
          COMPONENT Development)
  install(FILES ${pc_file} DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT Development)
endforeach()

# Tools: an installed fenn-sim finds the libraries and its bundled scenarios relative to
# itself, so a tree installed under any prefix runs as it is.
foreach(tool fenn-sim fenn-ringlog)
  if(TARGET ${tool})
    set_target_properties(${tool} PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
    install(TARGETS ${tool} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT Tools)
  endif()
endforeach()
if(TARGET fenn-sim)
  file(RELATIVE_PATH scenarios_from_bin /prefix/${CMAKE_INSTALL_BINDIR} /prefix/${FENN_INSTALL_SCENARIODIR})
  target_compile_definitions(fenn-sim PRIVATE FENN_SCENARIO_INSTALL_DIR="${scenarios_from_bin}")
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/scenarios/
          DESTINATION ${FENN_INSTALL_SCENARIODIR}
          COMPONENT Tools
          FILES_MATCHING PATTERN "*.yaml")
endif()

include(${PROJECT_SOURCE_DIR}/cmake/FennPackaging.cmake)
