# Debian packages, one per install component (scripts/package builds them):
#   libfennevpn0      Runtime: the two shared libraries
#   libfennevpn-dev   Development: headers, linker names, CMake package, pkg-config files
#   fenn-tools        Tools: fenn-sim, fenn-ringlog and the bundled scenarios
# The -dev and tools packages depend on exactly this version of libfennevpn0; dependencies
# on system libraries (libstdc++, yaml-cpp) come from dpkg-shlibdeps.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME fenn-evpn)
set(CPACK_PACKAGE_VENDOR "libFennEvpn")
set(CPACK_PACKAGE_CONTACT "libFennEvpn maintainers <fenn-evpn@localhost>")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_INSTALL_DIRECTORY fenn-evpn)
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_STRIP_FILES OFF)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL Runtime Development)
if(TARGET fenn-sim OR TARGET fenn-ringlog)
  list(APPEND CPACK_COMPONENTS_ALL Tools)
endif()
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
# Our own libraries are not in any installed package yet: dpkg-shlibdeps finds them here
# and leaves them to the component dependencies above.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libfennevpn0)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
    "EVPN-over-MPLS state machines for a switch's forwarding agent (runtime)
libFennEvpn turns EVPN-over-MPLS control-plane state into hardware forwarding
state. This package holds the shared library and its stand-alone platform layer.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libfennevpn-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS Runtime)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
    "EVPN-over-MPLS state machines for a switch's forwarding agent (development)
Headers, the CMake package (find_package(FennEvpn)) and the pkg-config files
of libFennEvpn and its platform layer. The headers need a C++20 compiler.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME fenn-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION net)
set(CPACK_COMPONENT_TOOLS_DEPENDS Runtime)
set(CPACK_COMPONENT_TOOLS_DESCRIPTION
    "Simulated switch and ring-log reader for libFennEvpn
fenn-sim runs the library on a simulated switch from scenario files;
fenn-ringlog prints the binary ring log a process leaves behind.")

include(CPack)
