# Runs layering.cmake on a tree full of breaches and compares what it tells with the list of them.
execute_process(COMMAND "${CMAKE_COMMAND}" -D "SOURCE_DIR=${SOURCE_DIR}" -P "${CMAKE_CURRENT_LIST_DIR}/layering.cmake"
                RESULT_VARIABLE status ERROR_VARIABLE told)
string(REGEX MATCHALL "[A-Za-z/_.]+ includes [A-Za-z/_.]+" told "${told}")
file(STRINGS "${EXPECTED}" expected)
if(status EQUAL 0 OR NOT told STREQUAL expected)
    message(FATAL_ERROR "status ${status}\ntold     ${told}\nexpected ${expected}")
endif()
