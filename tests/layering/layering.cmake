# Holds the table of docs/architecture.md, who may know whom, against the #include lines of every source.
#
#     cmake -D SOURCE_DIR=<top of the project> -P layering.cmake
#
# Every breach is one line "FILE includes HEADER"; the end tells how many files were read.
cmake_minimum_required(VERSION 3.25)
include("${CMAKE_CURRENT_LIST_DIR}/../../cmake/TarvaniHeaders.cmake")

# Whose headers a layer may include beside its own. The sources of every layer of the library may ask platform, whose
# headers are private; its public headers may not.
set(knows_platform "")
set(knows_UT "")
set(knows_stream UT indexfile)
set(knows_indexfile UT stream)
set(knows_preprocessor UT)
set(knows_history UT)
set(knows_events UT)
set(knows_pathfile UT stream)
set(knows_plugin UT pathfile)
set(knows_features UT preprocessor)
set(layers platform UT stream indexfile preprocessor history events pathfile plugin features)

# The one way around: stream declares the function that brings in the plug-ins, and what it does before; plugin defines it.
set(circle "plugin/FSloadCustomHelpers.cpp includes stream/FSloadCustomHelpers.h"
           "plugin/FSloadCustomHelpers.cpp includes stream/InstallHelpers.h")

set(breaches "")
set(read 0)
function(breach text)
    if(NOT text IN_LIST circle)
        set(breaches "${breaches}    ${text}\n" PARENT_SCOPE)
    endif()
endfunction()

# includes_of(FILE OUT): the headers of the project that a file names, in either form of #include.
function(includes_of file out)
    file(STRINGS "${file}" lines REGEX "^[ \t]*#[ \t]*include[ \t]*[<\"]")
    set(found "")
    foreach(line IN LISTS lines)
        if(line MATCHES "[<\"]([^>\"]+)[>\"]")
            list(APPEND found "${CMAKE_MATCH_1}")
        endif()
    endforeach()
    set(${out} "${found}" PARENT_SCOPE)
endfunction()

tarvani_public_headers("${SOURCE_DIR}/src" public_headers)

foreach(layer IN LISTS layers)
    file(GLOB_RECURSE files RELATIVE "${SOURCE_DIR}/src" "${SOURCE_DIR}/src/${layer}/*.h" "${SOURCE_DIR}/src/${layer}/*.cpp")
    foreach(file IN LISTS files)
        math(EXPR read "${read} + 1")
        includes_of("${SOURCE_DIR}/src/${file}" headers)
        foreach(header IN LISTS headers)
            if(EXISTS "${SOURCE_DIR}/src/${layer}/${header}")  # "Beside.h"
                set(header "${layer}/${header}")
            endif()
            if(NOT header MATCHES "^([A-Za-z]+)/" OR NOT CMAKE_MATCH_1 IN_LIST layers)
                continue()  # the standard library's or the system's
            endif()
            set(other "${CMAKE_MATCH_1}")
            if(file IN_LIST public_headers)
                # What users get must not need what they don't get, and only sources of stream close the circle with indexfile.
                set(allowed ${layer} ${knows_${layer}})
                if(NOT other IN_LIST allowed OR NOT header IN_LIST public_headers
                   OR (layer STREQUAL stream AND other STREQUAL indexfile))
                    breach("${file} includes ${header}")
                endif()
            else()
                set(allowed ${layer} ${knows_${layer}} platform)
                if(NOT other IN_LIST allowed OR (layer STREQUAL platform AND NOT other STREQUAL platform))
                    breach("${file} includes ${header}")
                endif()
            endif()
        endforeach()
    endforeach()
endforeach()

# Programs stand where users stand.
file(GLOB_RECURSE programs RELATIVE "${SOURCE_DIR}" "${SOURCE_DIR}/tools/*.h" "${SOURCE_DIR}/tools/*.cpp"
     "${SOURCE_DIR}/examples/*.h" "${SOURCE_DIR}/examples/*.cpp")
foreach(file IN LISTS programs)
    math(EXPR read "${read} + 1")
    includes_of("${SOURCE_DIR}/${file}" headers)
    foreach(header IN LISTS headers)
        if(EXISTS "${SOURCE_DIR}/src/${header}" AND NOT header IN_LIST public_headers)
            breach("${file} includes ${header}")
        endif()
    endforeach()
endforeach()

if(breaches)
    message(FATAL_ERROR "Includes that the layers do not allow:\n${breaches}")
elseif(read EQUAL 0)
    message(FATAL_ERROR "No source found below ${SOURCE_DIR}")
endif()
message(STATUS "${read} files keep to the layers")
