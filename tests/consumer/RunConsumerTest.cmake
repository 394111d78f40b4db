# Builds and runs the consumer project SOURCE_DIR in WORK_DIR against an
# installed copy of the package, and checks that pkg-config finds it too:
#   -DBUILD_DIR=<build tree>   installs that build tree into WORK_DIR/prefix
#   -DPREFIX=<prefix>          uses a prefix installed otherwise (the unpacked
#                              Debian packages: <root>/usr)
# The stand-ins lie in the package's private folder, which is on no search
# path: the consumer runs with it in LD_LIBRARY_PATH, as a program of an
# integrator's machine does (on the device, the platform's libraries are in
# the system folder). zelknx finds them through its own search path.
file(REMOVE_RECURSE "${WORK_DIR}")

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "failed (${result}): ${ARGN}\n${output}")
  endif()
  string(STRIP "${output}" output)
  set(output "${output}" PARENT_SCOPE)
endfunction()

if(BUILD_DIR)
  set(PREFIX "${WORK_DIR}/prefix")
  run(${CMAKE_COMMAND} --install "${BUILD_DIR}" --prefix "${PREFIX}")
endif()
file(GLOB platform_dir LIST_DIRECTORIES true "${PREFIX}/lib/zelobjectmodel/platform" "${PREFIX}/lib/*/zelobjectmodel/platform")
if(NOT IS_DIRECTORY "${platform_dir}")
  message(FATAL_ERROR "no platform stand-ins in ${PREFIX}/lib*/zelobjectmodel/platform")
endif()

run(${CMAKE_COMMAND} -S "${SOURCE_DIR}" -B "${WORK_DIR}/build" -G "${GENERATOR}"
    "-DCMAKE_PREFIX_PATH=${PREFIX}" "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}"
    "-DCMAKE_EXE_LINKER_FLAGS=${LINKER_FLAGS}")
run(${CMAKE_COMMAND} --build "${WORK_DIR}/build")
run(${CMAKE_COMMAND} -E env "LD_LIBRARY_PATH=${platform_dir}" "${WORK_DIR}/build/consumer")
message(STATUS "consumer: ${output}")
run("${PREFIX}/bin/zelknx" decode 9.001 0c33)
message(STATUS "installed zelknx: ${output}")
if(NOT output STREQUAL "21.5 °C")
  message(FATAL_ERROR "installed zelknx decoded 9.001 0c33 as ${output}")
endif()

find_program(PKG_CONFIG pkg-config)
if(PKG_CONFIG)
  file(GLOB pc_dirs "${PREFIX}/lib/pkgconfig" "${PREFIX}/lib/*/pkgconfig")
  set(ENV{PKG_CONFIG_PATH} "${pc_dirs}")
  run(${PKG_CONFIG} --variable=includedir zelobjectmodel)
  set(includedir "${output}")
  run(${PKG_CONFIG} --variable=includedir zelobjectmodel-platform-sim)
  set(platform_includedir "${output}")
  if(NOT EXISTS "${includedir}/Zel/Export.h" OR NOT EXISTS "${platform_includedir}/KnxStack/GroupValue.h")
    message(FATAL_ERROR "pkg-config's include directories lack the headers: ${includedir} ${platform_includedir}")
  endif()
  run(${PKG_CONFIG} --variable=libdir zelobjectmodel)
  set(libdir "${output}")
  run(${PKG_CONFIG} --cflags --libs zelobjectmodel zelobjectmodel-platform-sim)
  # The language standard is the consumer's: a -std here would lower C++20.
  if(output MATCHES "-std=")
    message(FATAL_ERROR "pkg-config's flags set the language standard: ${output}")
  endif()
  separate_arguments(flags UNIX_COMMAND "${output}")
  # The build's own flags (a sanitizer's, say) are one string each.
  separate_arguments(cxx_flags UNIX_COMMAND "${CXX_FLAGS}")
  separate_arguments(linker_flags UNIX_COMMAND "${LINKER_FLAGS}")
  run(c++ -std=c++20 ${cxx_flags} "${SOURCE_DIR}/main.cpp" -o "${WORK_DIR}/consumer-pc"
      ${flags} -ldevicestackclient_simulated -pthread ${linker_flags})
  run(${CMAKE_COMMAND} -E env "LD_LIBRARY_PATH=${platform_dir}:${libdir}" "${WORK_DIR}/consumer-pc")
  message(STATUS "consumer built with pkg-config in C++20: ${output}")
endif()
