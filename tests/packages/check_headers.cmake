# cmake -D INCLUDE=... -D CC=... -D CXX=... -D WINDOWS=[PROCESSOR] -P check_headers.cmake
# The headers in the oldest C and C++ that they are for; for Windows, with clang as it takes after
# MinGW's compilers and after Microsoft's.
cmake_minimum_required(VERSION 3.25)

function(compile)
  execute_process(COMMAND ${ARGV} -Wall -Wextra -Wpedantic -Werror -fsyntax-only
    -I${INCLUDE} ${INCLUDE}/kiv_base.h
    COMMAND_ERROR_IS_FATAL ANY COMMAND_ECHO STDOUT)
endfunction()

set(c -x c -std=c89)
set(cxx -x c++ -std=c++11)
compile(${CC} ${c})
compile(${CXX} ${cxx})
if(WINDOWS)
  foreach(target ${WINDOWS}-pc-windows-gnu ${WINDOWS}-pc-windows-msvc)
    compile(clang --target=${target} -ffreestanding ${c})
    compile(clang --target=${target} -ffreestanding ${cxx})
  endforeach()
endif()
