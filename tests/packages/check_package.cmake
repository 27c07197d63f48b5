# Takes what users receive into an empty directory and builds an outside project against it.
#
#   cmake -D FROM=install     as installed
#         -D FROM=subfolder   the library's directory, configured only
#         -D FROM=deb         from both Debian packages
#         -D FROM=zip         from the archive for Windows
#         -D FROM=microsoft   as installed, by a compiler and linker that follow Microsoft's
#         -P check_package.cmake
#   and after it, for all but `subfolder` and `microsoft`, with -D RUN=ON to run the programs
#
# BUILD, SOURCE: the folders of the library; FOLDER: for all that is made here; CC, OBJDUMP,
# PROCESSOR, TOOLCHAIN, EMULATOR, CONFIG, VERSION: as the library was built; MANUAL: whether the
# manual can be built.
cmake_minimum_required(VERSION 3.25)

function(run)
  execute_process(COMMAND ${ARGV} OUTPUT_VARIABLE text ERROR_VARIABLE text RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    list(JOIN ARGV " " command)
    message(FATAL_ERROR "${command}: ${status}\n${text}")
  endif()
endfunction()

# expect(what text regex...): fails with what is not found in the text.
function(expect what text)
  foreach(regex ${ARGN})
    if(NOT text MATCHES "${regex}")
      message(FATAL_ERROR "${what} has no \"${regex}\"")
    endif()
  endforeach()
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
set(delivered README.md docs/manual/index.md examples/echo.cpp)
file(REMOVE_RECURSE ${FOLDER})
file(MAKE_DIRECTORY ${root})
if(FROM MATCHES "install|microsoft")
  run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${FOLDER}/before_it_moved)
  file(REMOVE_RECURSE ${root})
  file(RENAME ${FOLDER}/before_it_moved ${root})
elseif(FROM MATCHES "deb|zip")
  # By somebody whose own files nobody else may read.
  run(sh -c "umask 077 && exec \"$@\"" sh
    ${CMAKE_CPACK_COMMAND} --config ${BUILD}/CPackConfig.cmake -B ${FOLDER})
  if(MANUAL)
    list(APPEND delivered html/index.html)
  endif()
endif()
if(FROM STREQUAL zip)
  file(GLOB package ${FOLDER}/*.zip)
  file(ARCHIVE_EXTRACT INPUT ${package} DESTINATION ${root})
  file(GLOB root ${root}/*)
  list(APPEND delivered README.txt lib/kiv_base.lib lib/libkiv_base.dll.a)
elseif(FROM STREQUAL deb)
  string(REGEX MATCH "^[0-9]+" major ${VERSION})
  set(runtime libkiv-base${major})
  set(expected_of_${runtime} "Depends: libc6 \\(>= " "\nlibkiv_base ${major} ${runtime} "
    "activate-noawait ldconfig\n")
  set(expected_of_libkiv-base-dev "Depends: ${runtime} \\(= ${VERSION}\\), libc6-dev")
  set(members_of_${runtime} shlibs triggers)
  foreach(package ${runtime} libkiv-base-dev)
    file(GLOB file ${FOLDER}/${package}_${VERSION}_*.deb)
    execute_process(COMMAND dpkg-deb -I ${file} control ${members_of_${package}}
      OUTPUT_VARIABLE control COMMAND_ERROR_IS_FATAL ANY)
    expect(${file} "${control}" ${expected_of_${package}})
    run(dpkg-deb -x ${file} ${root})
    list(APPEND delivered doc/${package}/changelog.gz doc/${package}/copyright)
  endforeach()
  set(root ${root}/usr)
  execute_process(COMMAND find ${root} -type d ! -perm 755 -o -type f ! -perm 644
    OUTPUT_VARIABLE closed COMMAND_ERROR_IS_FATAL ANY)
  if(closed)
    message(FATAL_ERROR "not for everybody, or not as files are:\n${closed}")
  endif()
endif()
if(NOT FROM STREQUAL subfolder)
  file(GLOB_RECURSE files ${root}/*)
  expect(${root} "${files}" ${delivered})
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
  run(${CMAKE_COMMAND} --build ${FOLDER}/outside --target in_c in_cpp)
  foreach(program in_c in_cpp)
    execute_process(COMMAND ${OBJDUMP} -p ${FOLDER}/outside/${program}.exe OUTPUT_VARIABLE headers
      COMMAND_ERROR_IS_FATAL ANY)
    expect(${program} "${headers}"
      "DLL Name: kiv_base.dll\n" "[ \t]kiv_box_loop\n" "[ \t]_zu_free\n")
  endforeach()
  return()
endif()

run(${outside} -D CMAKE_TOOLCHAIN_FILE=${TOOLCHAIN})
run(${CMAKE_COMMAND} --build ${FOLDER}/outside)

# The example programs stand alone where they are delivered; each in one unit, which takes a third of
# the time.
if(FROM MATCHES "deb|zip")
  set(examples ${files})
  list(FILTER examples INCLUDE REGEX "/echo.cpp$")
  cmake_path(GET examples PARENT_PATH examples)
  run(${CMAKE_COMMAND} -S ${examples} -B ${FOLDER}/examples -G Ninja
    -D CMAKE_UNITY_BUILD=ON -D CMAKE_UNITY_BUILD_BATCH_SIZE=0
    -D CMAKE_PREFIX_PATH=${root} -D CMAKE_TOOLCHAIN_FILE=${TOOLCHAIN})
  run(${CMAKE_COMMAND} --build ${FOLDER}/examples)
endif()

# Without CMake.
file(GLOB_RECURSE pc ${root}/kiv_base.pc)
cmake_path(GET pc PARENT_PATH pc)
set(ENV{PKG_CONFIG_LIBDIR} ${pc})
execute_process(COMMAND pkg-config --cflags --libs kiv_base OUTPUT_VARIABLE flags
  OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
separate_arguments(flags UNIX_COMMAND "${flags}")
run(${CC} ${SOURCE}/tests/outside_project/program.c ${flags} -o ${FOLDER}/plain.exe)
file(GLOB_RECURSE libraries ${root}/libkiv_base.so.1 ${root}/kiv_base.dll)
file(COPY ${libraries} DESTINATION ${FOLDER} FOLLOW_SYMLINK_CHAIN)
