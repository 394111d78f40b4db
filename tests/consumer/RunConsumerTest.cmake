# Installs the build tree BUILD_DIR into WORK_DIR/prefix, then configures,
# builds and runs the consumer project SOURCE_DIR against that prefix, and
# checks that pkg-config finds the package there too.
file(REMOVE_RECURSE "${WORK_DIR}")
set(prefix "${WORK_DIR}/prefix")

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "failed (${result}): ${ARGN}\n${output}")
  endif()
  set(output "${output}" PARENT_SCOPE)
endfunction()

run(${CMAKE_COMMAND} --install "${BUILD_DIR}" --prefix "${prefix}")
run(${CMAKE_COMMAND} -S "${SOURCE_DIR}" -B "${WORK_DIR}/build" -G "${GENERATOR}"
    "-DCMAKE_PREFIX_PATH=${prefix}" "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}"
    "-DCMAKE_EXE_LINKER_FLAGS=${LINKER_FLAGS}")
run(${CMAKE_COMMAND} --build "${WORK_DIR}/build")
run("${WORK_DIR}/build/consumer")
message(STATUS "consumer: ${output}")
run("${prefix}/bin/zelknx" decode 9.001 0c33)
message(STATUS "installed zelknx: ${output}")

find_program(PKG_CONFIG pkg-config)
if(PKG_CONFIG)
  file(GLOB pc_dirs "${prefix}/lib*/pkgconfig" "${prefix}/lib/*/pkgconfig")
  set(ENV{PKG_CONFIG_PATH} "${pc_dirs}")
  run(${PKG_CONFIG} --variable=includedir zelobjectmodel)
  string(STRIP "${output}" includedir)
  if(NOT EXISTS "${includedir}/Zel/Export.h" OR NOT EXISTS "${includedir}/KnxStack/GroupValue.h")
    message(FATAL_ERROR "pkg-config's include directory lacks the headers: ${includedir}")
  endif()
  run(${PKG_CONFIG} --cflags --libs zelobjectmodel)
endif()
