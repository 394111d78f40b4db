# Debian packages of the install components (CPack, DEB generator), for the
# architecture of the build: amd64 from the default build, armhf from the
# cross build. scripts/package.sh runs cpack and lintian for both.
#
#   libzelobjectmodel<major>        Runtime: the library under its soname
#   libzelobjectmodel-dev           Development: headers, link name, CMake
#                                   package, zelobjectmodel.pc
#   zelknx                          Tool
#   libzelobjectmodel-platform-sim  PlatformSim: the stand-ins, in the
#                                   private folder only
#   python3-zelobjectmodel          Python: the Python module (where
#                                   ZEL_BUILD_PYTHON; not in the armhf build)
# and a -dbgsym package of each one with binaries. Binaries are stripped; the
# runtime's Depends come from dpkg-shlibdeps (for armhf, from the sysroot's
# package control files, see cmake/ZelCPackProjectConfig.cmake.in).

set(ZEL_PACKAGE_MAINTAINER "libzelobjectmodel developers <zelobjectmodel@example.org>"
  CACHE STRING "Maintainer field of the Debian packages")

set(ZEL_RUNTIME_PACKAGE "libzelobjectmodel${PROJECT_VERSION_MAJOR}")
set(ZEL_PACKAGE_NAMES
  Runtime ${ZEL_RUNTIME_PACKAGE}
  Development libzelobjectmodel-dev
  Tool zelknx
  PlatformSim libzelobjectmodel-platform-sim)
if(ZEL_BUILD_PYTHON)
  list(APPEND ZEL_PACKAGE_NAMES Python python3-zelobjectmodel)
endif()

# The Debian architecture of the build's target.
if(CMAKE_LIBRARY_ARCHITECTURE)
  execute_process(COMMAND dpkg-architecture -t${CMAKE_LIBRARY_ARCHITECTURE} -qDEB_HOST_ARCH
    OUTPUT_VARIABLE ZEL_DEB_ARCH OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
endif()
if(NOT ZEL_DEB_ARCH)
  execute_process(COMMAND dpkg --print-architecture
    OUTPUT_VARIABLE ZEL_DEB_ARCH OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
endif()

# Every package carries its copyright file and a Debian changelog (the
# project's changes are in CHANGELOG.md, installed with the -dev package).
string(TIMESTAMP ZEL_CHANGELOG_DATE "%a, %d %b %Y %H:%M:%S +0000" UTC)
set(ZEL_PACKAGE_DOC_DIR "${PROJECT_BINARY_DIR}/packaging")
file(MAKE_DIRECTORY "${ZEL_PACKAGE_DOC_DIR}")
set(ZEL_PACKAGE_DOC_ROOT "${CMAKE_INSTALL_DATAROOTDIR}/doc")
set(names ${ZEL_PACKAGE_NAMES})
while(names)
  list(POP_FRONT names component package)
  set(ZEL_CHANGELOG_PACKAGE ${package})
  configure_file(cmake/packaging/changelog.in "${ZEL_PACKAGE_DOC_DIR}/${package}/changelog" @ONLY)
  execute_process(COMMAND gzip -9nf "${ZEL_PACKAGE_DOC_DIR}/${package}/changelog" COMMAND_ERROR_IS_FATAL ANY)
  install(FILES cmake/packaging/copyright "${ZEL_PACKAGE_DOC_DIR}/${package}/changelog.gz"
    DESTINATION "${ZEL_PACKAGE_DOC_ROOT}/${package}" COMPONENT ${component})
endwhile()
install(FILES CHANGELOG.md DESTINATION "${ZEL_PACKAGE_DOC_ROOT}/libzelobjectmodel-dev" COMPONENT Development)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zelobjectmodel)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "${ZEL_PACKAGE_MAINTAINER}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL Runtime Development Tool PlatformSim)
if(ZEL_BUILD_PYTHON)
  list(APPEND CPACK_COMPONENTS_ALL Python)
endif()
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${ZEL_DEB_ARCH})
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${ZEL_PACKAGE_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_DEBUGINFO_PACKAGE ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
# The target's binutils split the debug information off and strip.
set(CPACK_OBJCOPY_EXECUTABLE "${CMAKE_OBJCOPY}")
set(CPACK_READELF_EXECUTABLE "${CMAKE_READELF}")
set(CPACK_PROJECT_CONFIG_FILE "${PROJECT_BINARY_DIR}/ZelCPackProjectConfig.cmake")
set(ZEL_SHLIBDEPS_DIRS "${PROJECT_BINARY_DIR}/ZelObjectModel")
if(CMAKE_CROSSCOMPILING)
  # The sysroot's libraries, and the sysroot as the package build tree whose
  # DEBIAN/shlibs and DEBIAN/symbols say which package has each of them
  # (scripts/armhf-sysroot.sh writes them).
  list(APPEND ZEL_SHLIBDEPS_DIRS "${CMAKE_SYSROOT}/usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}"
    "${CMAKE_SYSROOT}/lib/${CMAKE_LIBRARY_ARCHITECTURE}" "${CMAKE_SYSROOT}/lib")
endif()
configure_file(cmake/ZelCPackProjectConfig.cmake.in "${CPACK_PROJECT_CONFIG_FILE}" @ONLY)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${ZEL_RUNTIME_PACKAGE})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
# dpkg runs ldconfig once for all packages that activate its trigger.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA "${PROJECT_SOURCE_DIR}/cmake/packaging/triggers")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "object-model library of the KNX building-automation device
Converts values between the platform's tagged value and KNX group values by
datapoint type, maps KNX communication objects and parameters to
object-model ids, makes blocking requests over the device-stack client and
reads the app host's XML start-up options.

The library loads the platform's own libraries (libzellog2, libzelknxhelper,
libbaseplatform, libknxstackapi, libdevicestackclient) by soname from the
system folders; they are part of the device's platform, not of this package.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libzelobjectmodel-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS Runtime)
set(zel_boost "${Boost_VERSION_MAJOR}.${Boost_VERSION_MINOR}")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
  "libboost${zel_boost}-dev, libboost-thread${zel_boost}-dev, libboost-date-time${zel_boost}-dev, libboost-timer${zel_boost}-dev, libboost-filesystem${zel_boost}-dev, liblog4cplus-dev")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "object-model library of the KNX device - development files
Headers, the CMake package (find_package(ZelObjectModel CONFIG)) and the
pkg-config file (zelobjectmodel) of libzelobjectmodel. Needs C++17 or later.

The platform's headers and libraries come from the device's SDK, or, off the
device, from libzelobjectmodel-platform-sim.")

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME zelknx)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION utils)
set(CPACK_COMPONENT_TOOL_DEPENDS Runtime)
set(CPACK_DEBIAN_TOOL_PACKAGE_SUGGESTS libzelobjectmodel-platform-sim)
if(ZELKNX_WITH_SERVE)
  # serve's page draws its plots with Debian's Chart.js, read from where
  # that package installs it (ZELKNX_CHART_JS).
  set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS libjs-chart.js)
endif()
set(CPACK_DEBIAN_TOOL_DESCRIPTION "encodes and decodes KNX group values with libzelobjectmodel
zelknx is a command-line shell over the object-model library: it encodes
and decodes KNX telegram payloads by datapoint type, prints the DPT table,
maps object-model ids and loads the app host configuration file. Where
built with them, it monitors knxd's group telegrams and serves them, live
or from a recorded log, as a web page.

On the device it uses the platform's own libraries; elsewhere it finds the
stand-ins of libzelobjectmodel-platform-sim in their private folder.")

set(CPACK_DEBIAN_PLATFORMSIM_PACKAGE_NAME libzelobjectmodel-platform-sim)
set(CPACK_DEBIAN_PLATFORMSIM_PACKAGE_SECTION libdevel)
# One provider of the platform at a time: this package and any other that
# provides zelobjectmodel-platform exclude each other.
set(CPACK_DEBIAN_PLATFORMSIM_PACKAGE_PROVIDES zelobjectmodel-platform)
set(CPACK_DEBIAN_PLATFORMSIM_PACKAGE_CONFLICTS zelobjectmodel-platform)
set(CPACK_DEBIAN_PLATFORMSIM_DESCRIPTION "stand-ins for the KNX device's platform libraries - not for the device
Simulated versions of the closed platform libraries that libzelobjectmodel
loads beside itself (logging, KNX text helpers, base platform values, KNX
stack group values, device-stack client, and a simulated device-stack client
for tests), with their headers, for building and testing off the device.

Do not install this package on a device image: it is no replacement for the
real platform. Its libraries go into a private folder only,
/usr/${ZEL_PLATFORM_INSTALL_LIBDIR},
so they never shadow the platform's libraries, and the package conflicts
with every other provider of zelobjectmodel-platform.")

if(ZEL_BUILD_PYTHON)
  math(EXPR zel_python_next_minor "${Python3_VERSION_MINOR} + 1")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-zelobjectmodel)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
  set(CPACK_COMPONENT_PYTHON_DEPENDS Runtime)
  # The module is built for one Python version (its file name says which).
  set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS
    "python3 (>= ${Python3_VERSION_MAJOR}.${Python3_VERSION_MINOR}), python3 (<< ${Python3_VERSION_MAJOR}.${zel_python_next_minor})")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_SUGGESTS libzelobjectmodel-platform-sim)
  set(CPACK_DEBIAN_PYTHON_DESCRIPTION "Python module of libzelobjectmodel, the KNX device's object-model library
zelobjectmodel lets scripts encode and decode KNX telegram payloads by
datapoint type exactly as the device does, read the DPT table, map
object-model ids, load the app host configuration, and read ETS group
address exports and projects, knxd bus logs and a live knxd. Every value is
the library's; its refusals raise ConversionError with its own message and
its log entries go to the logging module.

On the device it uses the platform's own libraries; elsewhere it finds the
stand-ins of libzelobjectmodel-platform-sim in their private folder.")
endif()

include(CPack)
