# Takes what users receive into an empty folder and builds an outside project against it.
#
#   cmake -D FROM=install     as installed
#         -D FROM=subfolder   the library's folder, configured only
#         -D FROM=deb         from both Debian packages
#         -D FROM=zip         from the archive for Windows
#         -D FROM=microsoft   as installed, by a compiler and linker that follow Microsoft's
#         -P check_package.cmake
#   and after it, for all but `subfolder` and `microsoft`, with -D RUN=ON to run the programs
#
# BUILD, SOURCE: the folders of the library; FOLDER: for all that is made here; CC, OBJDUMP,
# PROCESSOR, TOOLCHAIN, EMULATOR, CONFIG: as the library was built; MANUAL: whether the manual can
# be made.
cmake_minimum_required(VERSION 3.25)

function(run)
  execute_process(COMMAND ${ARGV} OUTPUT_VARIABLE text ERROR_VARIABLE text RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    list(JOIN ARGV " " command)
    message(FATAL_ERROR "${command}: ${status}\n${text}")
  endif()
endfunction()

if(RUN)
  file(GLOB programs LIST_DIRECTORIES false ${FOLDER}/outside/in_*)
  set(ENV{LD_LIBRARY_PATH} ${FOLDER})  # for the one without a run path
  foreach(program ${programs} ${FOLDER}/plain.exe)
    run(${EMULATOR} ${program})
  endforeach()
  return()
endif()

set(root ${FOLDER}/root)
file(REMOVE_RECURSE ${FOLDER})
file(MAKE_DIRECTORY ${root})
if(FROM MATCHES "install|microsoft")
  run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${FOLDER}/before_it_moved)
  file(REMOVE_RECURSE ${root})
  file(RENAME ${FOLDER}/before_it_moved ${root})
elseif(FROM MATCHES "deb|zip")
  run(${CMAKE_CPACK_COMMAND} --config ${BUILD}/CPackConfig.cmake -B ${FOLDER})
  file(GLOB packages ${FOLDER}/*.${FROM})
  foreach(package ${packages})
    if(FROM STREQUAL deb)
      run(dpkg-deb -x ${package} ${root})
    else()
      file(ARCHIVE_EXTRACT INPUT ${package} DESTINATION ${root})
    endif()
  endforeach()
  file(GLOB root ${root}/*)
  file(GLOB_RECURSE manual ${root}/index.html)
  if(MANUAL AND NOT manual)
    message(FATAL_ERROR "The manual is not in ${packages}")
  endif()
endif()

set(outside ${CMAKE_COMMAND} -S ${SOURCE}/tests/outside_project -B ${FOLDER}/outside -G Ninja
  -D CMAKE_BUILD_TYPE=${CONFIG} -D CMAKE_PREFIX_PATH=${root})
if(FROM STREQUAL subfolder)
  # Not built: that would be the library once more.
  run(${outside} -D CMAKE_TOOLCHAIN_FILE=${TOOLCHAIN} -D KIV_BASE_FOLDER=${SOURCE})
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

run(${outside} -D CMAKE_TOOLCHAIN_FILE=${TOOLCHAIN})
run(${CMAKE_COMMAND} --build ${FOLDER}/outside)

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
file(GLOB_RECURSE libraries ${root}/libkiv_base.so.1 ${root}/kiv_base.dll)
file(COPY ${libraries} DESTINATION ${FOLDER} FOLLOW_SYMLINK_CHAIN)
