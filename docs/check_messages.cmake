# cmake -D SOURCES=folder -D PAGE=messages.md -P check_messages.cmake
# The page lists every diagnostic line of the library, to the letter, and no others: what begins
# with its kind, and what is printed in the name of a function.
cmake_minimum_required(VERSION 3.25)

# Brackets and semicolons mean something in CMake lists.
function(read_plain file out)
  file(READ ${file} text)
  string(REGEX REPLACE "[][;]" "_" text "${text}")
  set(${out} "${text}" PARENT_SCOPE)
endfunction()

set(folders base containers event protocol http system platform)
list(TRANSFORM folders REPLACE "(.+)" "${SOURCES}/\\1/*.cpp")
file(GLOB_RECURSE files ${folders})
set(printed "")
foreach(file ${files})
  read_plain(${file} text)
  string(REGEX MATCHALL "\"(error|warn|info): [^\"]+\"|printf\\(\"[^\"]*\\(\\)[^\"]*\"" lines "${text}")
  list(APPEND printed ${lines})
endforeach()
list(TRANSFORM printed REPLACE "^(printf\\()?\"(.*)\"$" "\\2")
list(TRANSFORM printed REPLACE "\\\\n$" "")
list(REMOVE_DUPLICATES printed)

read_plain(${PAGE} text)
string(REGEX MATCHALL "\n\\| `[^`\n]+`|\n\\| ``[^\n]+`` \\| [^\n]+ \\|" listed "${text}")
list(TRANSFORM listed REPLACE "^\n\\| ``?([^`]*)`.*" "\\1")

set(unlisted ${printed})
list(REMOVE_ITEM unlisted ${listed})
list(REMOVE_ITEM listed ${printed})
if(unlisted OR listed)
  list(JOIN unlisted "\n  " unlisted)
  list(JOIN listed "\n  " listed)
  message(FATAL_ERROR "${PAGE} lacks\n  ${unlisted}\nand lists what is not printed\n  ${listed}")
endif()
list(LENGTH printed count)
message(STATUS "${count} lines")
