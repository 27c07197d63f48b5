# Reads a built library with objdump and stops when it is not what is shipped.
#
#   cmake -D BINARY=... -D OBJDUMP=... -D NAMES=...    -P check_binary.cmake
#     its exported names are those of the file NAMES, undecorated, no more and no fewer
#   cmake -D BINARY=... -D OBJDUMP=... -D NEEDS="a b"  -P check_binary.cmake
#     it loads no other libraries than these; case does not count
#   cmake -D BINARY=... -D OBJDUMP=... -D IMPORTS=... -D BITS=32 -D WINDRES=... -D VERSION=1.2.3
#         -D MOST=640000 -P check_binary.cmake
#     a Windows library of this width, which may be loaded anywhere, whose data is not run, that
#     tells this version, that takes no names from the system but those of the file IMPORTS, and
#     that has no more than MOST bytes (built for release)
cmake_minimum_required(VERSION 3.25)

function(objdump option out)
  execute_process(COMMAND ${OBJDUMP} ${option} ${BINARY} OUTPUT_VARIABLE text COMMAND_ERROR_IS_FATAL ANY)
  # Brackets and semicolons mean something in CMake lists.
  string(REGEX REPLACE "[][;]" " " text "${text}")
  set(${out} "${text}" PARENT_SCOPE)
endfunction()

# report_difference(have want complaint): fails with the entries of `have` that `want` lacks. There
# are always some entries: an empty list means that the text of objdump was not understood.
function(report_difference have want complaint)
  if(NOT have)
    message(FATAL_ERROR "${BINARY}: no names found of those that it ${complaint}")
  endif()
  list(REMOVE_ITEM have ${want})
  if(have)
    list(JOIN have " " names)
    message(FATAL_ERROR "${BINARY} ${complaint}: ${names}")
  endif()
endfunction()

if(NAMES)
  file(STRINGS ${NAMES} wanted REGEX "^[A-Za-z_]")
  objdump(-p headers)
  if(headers MATCHES "file format pei-")
    string(REGEX REPLACE ".*Ordinal/Name Pointer  Table" "" headers "${headers}")
    string(REGEX MATCHALL "\n\t +[0-9]+ +[^ \n]+" lines "${headers}")
  else()
    objdump(-T symbols)
    string(REGEX MATCHALL "\n[0-9a-f]+ [gwu] [^\n]*" lines "${symbols}")
    list(FILTER lines EXCLUDE REGEX "UND")
  endif()
  list(TRANSFORM lines REPLACE ".* " "" OUTPUT_VARIABLE exported)
  report_difference("${wanted}" "${exported}" "does not export")
  report_difference("${exported}" "${wanted}" "exports beyond ${NAMES}")
  list(LENGTH exported count)
  message(STATUS "${count} names exported")
endif()

if(NEEDS)
  objdump(-p headers)
  string(REGEX MATCHALL "(DLL Name:|NEEDED) +[^ \n]+" lines "${headers}")
  list(TRANSFORM lines REPLACE ".* " "" OUTPUT_VARIABLE needed)
  list(TRANSFORM needed TOLOWER)
  string(TOLOWER "${NEEDS}" allowed)
  separate_arguments(allowed)
  report_difference("${needed}" "${allowed}" "needs")
endif()

if(IMPORTS)
  set(format_of_32 pei-i386)
  set(format_of_64 pei-x86-64)
  file(STRINGS ${IMPORTS} allowed REGEX "^[A-Za-z0-9_]+( ${BITS})?$")
  list(TRANSFORM allowed REPLACE " .*" "")
  objdump(-p headers)
  execute_process(COMMAND ${WINDRES} -J coff -O rc ${BINARY} OUTPUT_VARIABLE resources
    COMMAND_ERROR_IS_FATAL ANY)
  string(REPLACE "." ", " numbers ${VERSION}.0)
  foreach(sign "file format ${format_of_${BITS}}\n" "DYNAMIC_BASE" "NX_COMPAT"
      "Entry 5 [0-9a-f]*[1-9a-f][0-9a-f]* [0-9a-f]+ Base Relocation Directory"
      "FILEVERSION ${numbers}\n" "PRODUCTVERSION ${numbers}\n"
      "\"FileVersion\", \"${VERSION}\"" "\"ProductVersion\", \"${VERSION}\"")
    if(NOT "${headers}${resources}" MATCHES "${sign}")
      message(FATAL_ERROR "${BINARY} has no ${sign}")
    endif()
  endforeach()
  string(REGEX REPLACE ".*The Import Tables|The Export Tables.*" "" headers "${headers}")
  string(REGEX MATCHALL "\n\t[0-9a-f]+\t +[0-9]+  [^ \n]+" lines "${headers}")
  list(TRANSFORM lines REPLACE ".* " "" OUTPUT_VARIABLE imported)
  report_difference("${imported}" "${allowed}" "takes names beyond ${IMPORTS}")
  file(SIZE ${BINARY} bytes)
  list(LENGTH imported count)
  message(STATUS "${count} names imported, ${bytes} bytes")
  if(MOST AND bytes GREATER MOST)
    message(FATAL_ERROR "${BINARY} has ${bytes} bytes, more than ${MOST}: look in a link map for "
      "what the C++ run-time library has added")
  endif()
endif()
