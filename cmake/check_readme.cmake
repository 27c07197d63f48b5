# cmake -D README=... -D "EXAMPLES=file;file" -P check_readme.cmake
# The programs that the README shows are the examples that are built, to the letter.
file(READ ${README} readme)
foreach(example ${EXAMPLES})
  file(READ ${example} text)
  string(FIND "${readme}" "\n```cpp\n${text}```\n" position)
  if(position EQUAL -1)
    message(FATAL_ERROR "${README} does not show ${example} as it is")
  endif()
endforeach()
