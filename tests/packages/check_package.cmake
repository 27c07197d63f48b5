# Takes what users receive into an empty folder and builds and runs an outside project against it.
#
#   cmake -D FROM=install|subfolder|... -P check_package.cmake
#
# BUILD, SOURCE: the folders of the library; FOLDER: for all that is made here; CC, TOOLCHAIN,
# EMULATOR, CONFIG: as the library was built.
cmake_minimum_required(VERSION 3.25)

function(run)
  execute_process(COMMAND ${ARGV} OUTPUT_VARIABLE text ERROR_VARIABLE text RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    list(JOIN ARGV " " command)
    message(FATAL_ERROR "${command}: ${status}\n${text}")
  endif()
endfunction()

set(root ${FOLDER}/root)
file(REMOVE_RECURSE ${FOLDER})
file(MAKE_DIRECTORY ${root})
if(FROM STREQUAL install)
  run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${FOLDER}/before_it_moved)
  file(REMOVE_RECURSE ${root})
  file(RENAME ${FOLDER}/before_it_moved ${root})
endif()

# As a subfolder: the library is not built once more for it.
string(REPLACE ";" "\\;" emulator "${EMULATOR}")
set(outside ${CMAKE_COMMAND} -S ${SOURCE}/tests/outside_project -B ${FOLDER}/outside -G Ninja
  -D CMAKE_BUILD_TYPE=${CONFIG} -D CMAKE_PREFIX_PATH=${root} -D CMAKE_TOOLCHAIN_FILE=${TOOLCHAIN}
  -D CMAKE_CROSSCOMPILING_EMULATOR=${emulator})
if(FROM STREQUAL subfolder)
  run(${outside} -D KIV_BASE_FOLDER=${SOURCE})
  return()
endif()
run(${outside})
run(${CMAKE_COMMAND} --build ${FOLDER}/outside)
run(${CMAKE_CTEST_COMMAND} --test-dir ${FOLDER}/outside --output-on-failure)

# The example programs stand alone where they are delivered.
file(GLOB_RECURSE examples ${root}/echo.cpp)
cmake_path(GET examples PARENT_PATH examples)
run(${CMAKE_COMMAND} -S ${examples} -B ${FOLDER}/examples -G Ninja
  -D CMAKE_PREFIX_PATH=${root} -D CMAKE_TOOLCHAIN_FILE=${TOOLCHAIN})
run(${CMAKE_COMMAND} --build ${FOLDER}/examples --target echo)

# Without CMake.
file(GLOB_RECURSE pc ${root}/kiv_base.pc)
cmake_path(GET pc PARENT_PATH pc)
set(ENV{PKG_CONFIG_LIBDIR} ${pc})
execute_process(COMMAND pkg-config --cflags --libs kiv_base OUTPUT_VARIABLE flags
  OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
separate_arguments(flags)
run(${CC} ${SOURCE}/tests/outside_project/program.c ${flags} -o ${FOLDER}/plain.exe)
if(EMULATOR OR NOT TOOLCHAIN)
  file(GLOB_RECURSE libraries ${root}/libkiv_base.so.1 ${root}/kiv_base.dll)
  file(COPY ${libraries} DESTINATION ${FOLDER} FOLLOW_SYMLINK_CHAIN)
  set(ENV{LD_LIBRARY_PATH} ${FOLDER})
  run(${EMULATOR} ${FOLDER}/plain.exe)
endif()
