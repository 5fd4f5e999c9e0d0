# The target docs: the reference of the public headers, made by Doxygen, in <build>/reference/html. It fails at a warning.
find_program(TARVANI_DOXYGEN doxygen)
if(NOT TARVANI_DOXYGEN)
    return()
endif()
include("${CMAKE_CURRENT_LIST_DIR}/TarvaniHeaders.cmake")
tarvani_public_headers("${PROJECT_SOURCE_DIR}/src" TARVANI_DOCS_INPUT)
list(TRANSFORM TARVANI_DOCS_INPUT REPLACE "(.+)" "\"${PROJECT_SOURCE_DIR}/src/\\1\"")
list(JOIN TARVANI_DOCS_INPUT " \\\n    " TARVANI_DOCS_INPUT)
configure_file("${PROJECT_SOURCE_DIR}/docs/Doxyfile.in" "${CMAKE_CURRENT_BINARY_DIR}/Doxyfile" @ONLY)
add_custom_target(docs COMMAND "${CMAKE_COMMAND}" -E make_directory "${CMAKE_CURRENT_BINARY_DIR}/reference"
                  COMMAND "${TARVANI_DOXYGEN}" "${CMAKE_CURRENT_BINARY_DIR}/Doxyfile"
                  COMMENT "Making the reference" VERBATIM)
