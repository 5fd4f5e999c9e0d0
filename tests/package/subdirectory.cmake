# The library as a part of a user's build, shared and then static, and the static one installed from there. The objects are
# the same for both kinds, so the second build compiles nothing anew.
cmake_minimum_required(VERSION 3.25)
include("${CMAKE_CURRENT_LIST_DIR}/steps.cmake")

set(build "${WORK_DIR}/subdirectory")
foreach(shared ON OFF)
    run("${CMAKE_COMMAND}" -S "${SOURCE_DIR}/tests/package/consumer" -B "${build}" -G "${GENERATOR}"
        -D "CMAKE_CXX_COMPILER=${CXX}" -D "TARVANI_SOURCE_DIR=${SOURCE_DIR}" -D TARVANI_INSTALL=ON
        -D "BUILD_SHARED_LIBS=${shared}")
    run("${CMAKE_COMMAND}" --build "${build}")
    run_consumer("${build}/consumer")
endforeach()

install_into_blank("${build}" static prefix)
file(GLOB libraries RELATIVE "${prefix}/${LIBDIR}" "${prefix}/${LIBDIR}/libtarvani*")
if(NOT libraries STREQUAL "libtarvani.a" OR EXISTS "${prefix}/bin/tarvani")
    message(FATAL_ERROR "installed from a user's build: ${libraries}")
endif()
build_consumers("${prefix}" static --static)
