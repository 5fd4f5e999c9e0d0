# What both package tests do: run a command that must succeed, and build and run the consumer in each of the ways in which
# an installed library is found.

# run(COMMAND ARGUMENT...): its output goes to `output`; a failure ends the test and shows everything.
function(run)
    execute_process(COMMAND ${ARGN} WORKING_DIRECTORY "${WORK_DIR}" RESULT_VARIABLE status OUTPUT_VARIABLE text
                    ERROR_VARIABLE text OUTPUT_STRIP_TRAILING_WHITESPACE)
    if(NOT status EQUAL 0)
        list(JOIN ARGN " " command)
        message(FATAL_ERROR "${command}\nended with ${status}:\n${text}")
    endif()
    set(output "${text}" PARENT_SCOPE)
endfunction()

# install_into_blank(BUILD_DIR NAME OUT): installs into one place and moves the whole to another, whose name holds a blank,
# since a package is often built in one place and used in another.
function(install_into_blank build_dir name out)
    set(prefix "${WORK_DIR}/${name} with a blank")
    file(REMOVE_RECURSE "${WORK_DIR}/${name}-staging" "${prefix}")
    run("${CMAKE_COMMAND}" --install "${build_dir}" --prefix "${WORK_DIR}/${name}-staging")
    file(RENAME "${WORK_DIR}/${name}-staging" "${prefix}")
    set(${out} "${prefix}" PARENT_SCOPE)
endfunction()

# run_consumer(PROGRAM): it must work from its own directory with no help of the environment.
function(run_consumer program)
    file(REMOVE "${WORK_DIR}/consumer.idx")
    run("${program}" "${WORK_DIR}/consumer.idx")
    if(NOT output STREQUAL "Tarvani ${VERSION}")
        message(FATAL_ERROR "${program} printed: ${output}")
    endif()
endfunction()

# build_consumers(PREFIX NAME [PKG_CONFIG OPTION...])
function(build_consumers prefix name)
    set(build "${WORK_DIR}/${name}-consumer")
    file(REMOVE_RECURSE "${build}")
    run("${CMAKE_COMMAND}" -S "${SOURCE_DIR}/tests/package/consumer" -B "${build}" -G "${GENERATOR}"
        -D "CMAKE_CXX_COMPILER=${CXX}" -D "CMAKE_PREFIX_PATH=${prefix}")
    run("${CMAKE_COMMAND}" --build "${build}")
    run_consumer("${build}/consumer")

    # As it is typed: the words that pkg-config gives are words of a shell, blanks escaped.
    set(ENV{PKG_CONFIG_PATH} "${prefix}/${LIBDIR}/pkgconfig")
    run(pkg-config --modversion tarvani)
    if(NOT output STREQUAL "${VERSION}")
        message(FATAL_ERROR "pkg-config --modversion tarvani printed: ${output}")
    endif()
    list(JOIN ARGN " " options)
    run(sh -c "eval \"'${CXX}' -std=c++17 -o pkg-consumer '${SOURCE_DIR}/tests/package/consumer/main.cpp' \
               $(pkg-config ${options} --cflags --libs tarvani) '-Wl,-rpath,${prefix}/${LIBDIR}'\"")
    run_consumer("${WORK_DIR}/pkg-consumer")
endfunction()
