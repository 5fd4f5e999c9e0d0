# Which headers users get. Asked at install time and by the layering test, so that both always speak of the same files.

# tarvani_public_headers(SOURCE_DIR OUT): paths below SOURCE_DIR, in order. Left out are src/platform, which is private as
# a whole, and every header whose opening comment begins "// Private:".
function(tarvani_public_headers source_dir out)
    file(GLOB_RECURSE headers RELATIVE "${source_dir}" "${source_dir}/*.h" "${source_dir}/UT/UT_DSOVersion")
    list(FILTER headers EXCLUDE REGEX "^platform/")
    list(SORT headers)
    set(public "")
    foreach(header IN LISTS headers)
        file(READ "${source_dir}/${header}" text LIMIT 200)
        if(NOT text MATCHES "^(#pragma once\n+)?// Private:")
            list(APPEND public "${header}")
        endif()
    endforeach()
    set(${out} "${public}" PARENT_SCOPE)
endfunction()
