# cmake -D README=... -D EXAMPLE=... -P check_readme.cmake
# The program that the README shows is the example that is built, to the letter.
file(READ ${README} readme)
file(READ ${EXAMPLE} example)
string(FIND "${readme}" "\n```cpp\n${example}```\n" position)
if(position EQUAL -1)
  message(FATAL_ERROR "${README} does not show ${EXAMPLE} as it is")
endif()
