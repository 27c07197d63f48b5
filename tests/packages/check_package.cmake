# Takes what users receive into an empty folder and builds and runs an outside project against it.
#
#   cmake -D FROM=install     as installed
#         -D FROM=subfolder   the library's folder, configured only
#         -D FROM=microsoft   as installed, by a compiler and linker that follow Microsoft's
#         -P check_package.cmake
#
# BUILD, SOURCE: the folders of the library; FOLDER: for all that is made here; CC, OBJDUMP,
# PROCESSOR, TOOLCHAIN, EMULATOR, CONFIG: as the library was built.
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
if(FROM MATCHES "install|microsoft")
  run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${FOLDER}/before_it_moved)
  file(REMOVE_RECURSE ${root})
  file(RENAME ${FOLDER}/before_it_moved ${root})
endif()

string(REPLACE ";" "\\;" emulator "${EMULATOR}")
set(outside ${CMAKE_COMMAND} -S ${SOURCE}/tests/outside_project -B ${FOLDER}/outside -G Ninja
  -D CMAKE_BUILD_TYPE=${CONFIG} -D CMAKE_PREFIX_PATH=${root})
set(our_tools -D CMAKE_TOOLCHAIN_FILE=${TOOLCHAIN} -D CMAKE_CROSSCOMPILING_EMULATOR=${emulator})
if(FROM STREQUAL subfolder)
  # Not built: that would be the library once more.
  run(${outside} ${our_tools} -D KIV_BASE_FOLDER=${SOURCE})
  return()
endif()
if(FROM STREQUAL microsoft)
  # Neither their headers nor their libraries are here, so the program starts at main itself.
  run(${outside} -D CMAKE_SYSTEM_NAME=Windows -D CMAKE_TRY_COMPILE_TARGET_TYPE=STATIC_LIBRARY
    -D CMAKE_C_COMPILER=clang -D CMAKE_C_COMPILER_TARGET=${PROCESSOR}-pc-windows-msvc
    -D CMAKE_CXX_COMPILER=clang++ -D CMAKE_CXX_COMPILER_TARGET=${PROCESSOR}-pc-windows-msvc
    -D CMAKE_C_FLAGS=-ffreestanding -D CMAKE_C_STANDARD_LIBRARIES=
    -D CMAKE_CXX_FLAGS=-ffreestanding -D CMAKE_CXX_STANDARD_LIBRARIES=
    "-DCMAKE_EXE_LINKER_FLAGS=-Xlinker /entry:main -Xlinker /nodefaultlib")
  run(${CMAKE_COMMAND} --build ${FOLDER}/outside)
  foreach(program in_c in_cpp)
    execute_process(COMMAND ${OBJDUMP} -p ${FOLDER}/outside/${program}.exe OUTPUT_VARIABLE headers
      COMMAND_ERROR_IS_FATAL ANY)
    foreach(found "DLL Name: kiv_base.dll\n" "[ \t]kiv_box_loop\n" "[ \t]_zu_free\n")
      if(NOT headers MATCHES ${found})
        message(FATAL_ERROR "${program} does not import \"${found}\":\n${headers}")
      endif()
    endforeach()
  endforeach()
  return()
endif()

run(${outside} ${our_tools})
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
