# cmake -D INCLUDE=... -D CC=... -D CXX=... -D WINDOWS=[PROCESSOR] -D SYSTEM=DIR,... -P check_headers.cmake
# The headers in the oldest C and C++ that they are for; for Windows, with clang as it takes after
# MinGW's compilers and after Microsoft's. The C++ wrapper needs a library of C++, which clang takes
# from MinGW's compiler: SYSTEM is where that looks for headers.
cmake_minimum_required(VERSION 3.25)

function(compile header)
  execute_process(COMMAND ${ARGN} -Wall -Wextra -Wpedantic -Werror -fsyntax-only
    -I${INCLUDE} ${INCLUDE}/${header}
    COMMAND_ERROR_IS_FATAL ANY COMMAND_ECHO STDOUT)
endfunction()

set(c -x c -std=c89)
set(cxx -x c++ -std=c++11)
compile(kiv_base.h ${CC} ${c})
compile(kiv_base.h ${CXX} ${cxx})
if(WINDOWS)
  foreach(target ${WINDOWS}-pc-windows-gnu ${WINDOWS}-pc-windows-msvc)
    compile(kiv_base.h clang --target=${target} -ffreestanding ${c})
    compile(kiv_base.h clang --target=${target} -ffreestanding ${cxx})
  endforeach()
  string(REPLACE "," ";" system "${SYSTEM}")
  list(FILTER system INCLUDE REGEX "/c\\+\\+")
  list(TRANSFORM system PREPEND -isystem)
  compile(kiv_base.hpp clang --target=${WINDOWS}-pc-windows-gnu -nostdinc++ ${system}
    -x c++ -std=c++20)
endif()
