# The C++ example that a page shows in its ```cpp block is the file PROGRAM, to the letter.
file(READ "${PAGE}" page)
file(READ "${PROGRAM}" program)
string(FIND "${page}" "```cpp\n${program}```" found)
if(found EQUAL -1)
    message(FATAL_ERROR "${PAGE} does not show ${PROGRAM} as it is")
endif()
