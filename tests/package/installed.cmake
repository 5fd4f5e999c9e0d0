# The build as it stands, installed: what lies there, that it serves users, and that its headers ask nothing of them.
cmake_minimum_required(VERSION 3.25)
include("${CMAKE_CURRENT_LIST_DIR}/steps.cmake")
include("${SOURCE_DIR}/cmake/TarvaniHeaders.cmake")

install_into_blank("${BUILD_DIR}" shared prefix)

# The headers are the public ones, all of them and no others.
tarvani_public_headers("${SOURCE_DIR}/src" headers)
file(GLOB_RECURSE installed RELATIVE "${prefix}/include/tarvani" "${prefix}/include/*")
list(SORT installed)
if(NOT installed STREQUAL headers OR NOT "stream/FS_Reader.h" IN_LIST installed)
    message(FATAL_ERROR "public:    ${headers}\ninstalled: ${installed}")
endif()

# Each compiles alone, without a warning, under every compiler at hand and with only the installed headers in reach. Users
# may be at C++17 still.
find_program(CLANG clang++)
foreach(header IN LISTS headers)
    file(WRITE "${WORK_DIR}/alone.cpp" "#include <${header}>\n")
    foreach(compiler IN ITEMS "${CXX}" ${CLANG})
        foreach(standard c++17 c++20)
            run("${compiler}" -std=${standard} -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror -fsyntax-only
                "-I${prefix}/include/tarvani" "${WORK_DIR}/alone.cpp")
        endforeach()
    endforeach()
endforeach()

# The name that programs are bound to holds the major version alone, and what the library shows is its own.
string(REGEX MATCH "^[0-9]+" major "${VERSION}")
set(library "${prefix}/${LIBDIR}/libtarvani.so")
run(readelf -d "${library}")
if(NOT output MATCHES "SONAME.*\\[libtarvani\\.so\\.${major}\\]")
    message(FATAL_ERROR "no SONAME libtarvani.so.${major} in ${output}")
endif()
run(nm -D -C --defined-only "${library}")
string(REGEX MATCHALL "[^\n]* [TDBR] (platform::|opendir|readdir|closedir|getopt|optind)[^\n]*" stray "${output}")
if(stray)
    message(FATAL_ERROR "symbols that the library should keep to itself: ${stray}")
endif()

run("${prefix}/bin/tarvani" --version)
if(NOT output MATCHES "${VERSION}")
    message(FATAL_ERROR "tarvani --version printed: ${output}")
endif()
# With its manual pages, and the completions where each shell looks for them.
foreach(page man/man1/tarvani.1 man/man7/tarvani-path.7 bash-completion/completions/tarvani zsh/site-functions/_tarvani
             fish/vendor_completions.d/tarvani.fish)
    if(NOT EXISTS "${prefix}/share/${page}")
        message(FATAL_ERROR "share/${page} was not installed")
    endif()
endforeach()
build_consumers("${prefix}" shared)

# Uninstalling takes away all that came and nothing else: what others have put there stays, with the directories that are theirs.
set(prefix "${WORK_DIR}/uninstalled")
file(REMOVE_RECURSE "${prefix}")
run("${CMAKE_COMMAND}" --install "${BUILD_DIR}" --prefix "${prefix}")
file(WRITE "${prefix}/bin/other" "")
file(WRITE "${prefix}/share/doc/tarvani/notes" "")
run("${CMAKE_COMMAND}" --build "${BUILD_DIR}" --target uninstall)
file(GLOB_RECURSE left RELATIVE "${prefix}" "${prefix}/*")
if(NOT left STREQUAL "bin/other;share/doc/tarvani/notes" OR EXISTS "${prefix}/include/tarvani" OR NOT EXISTS "${prefix}/include")
    message(FATAL_ERROR "after uninstalling: ${left}")
endif()
