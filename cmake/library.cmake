# The library and what it is made of. Each folder adds its sources to kiv_objects.
#
#   kiv_objects          all code but the two files below
#   kiv_heap_and_clock   the process heap and the clocks; tests replace them at link time
#   kiv_base             the product, exporting the names of exported_names.txt and no others; as
#                        kiv_base::kiv_base it has the same name as where it is installed

function(kiv_library_sources target)
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
  target_compile_definitions(${target} PRIVATE KIV_BASE_BUILD)
  target_compile_options(${target} PRIVATE
    $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions> $<$<COMPILE_LANGUAGE:CXX>:-fno-rtti>)
  set_target_properties(${target} PROPERTIES CXX_VISIBILITY_PRESET hidden
                                             VISIBILITY_INLINES_HIDDEN ON)
  target_link_libraries(${target} PRIVATE kiv_warnings)
  if(WIN32)
    # Windows 7 is the oldest system that the library runs on.
    # The printf family follows C99 under either C runtime.
    target_compile_definitions(${target} PRIVATE _WIN32_WINNT=0x0601 WIN32_LEAN_AND_MEAN NOMINMAX
      __USE_MINGW_ANSI_STDIO=1)
  else()
    target_compile_options(${target} PRIVATE -fno-semantic-interposition)
  endif()
endfunction()

add_library(kiv_objects OBJECT)
kiv_library_sources(kiv_objects)
add_library(kiv_heap_and_clock OBJECT)
kiv_library_sources(kiv_heap_and_clock)

# One list of names makes the .def file and the version script.
set(KIV_EXPORT_LIST ${PROJECT_SOURCE_DIR}/cmake/exported_names.txt)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${KIV_EXPORT_LIST})
file(STRINGS ${KIV_EXPORT_LIST} kiv_exported_names REGEX "^[A-Za-z_]")
list(JOIN kiv_exported_names "\n  " def_names)
list(JOIN kiv_exported_names ";\n    " map_names)
file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/kiv_base.def
     CONTENT "LIBRARY kiv_base.dll\nEXPORTS\n  @def_names@\n" @ONLY)
file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/kiv_base.map
     CONTENT "{\n  global:\n    @map_names@;\n  local:\n    *;\n};\n" @ONLY)

# The compiler's own run-time libraries go into the library, so that it stands alone.
add_library(kiv_base SHARED $<TARGET_OBJECTS:kiv_objects> $<TARGET_OBJECTS:kiv_heap_and_clock>)
add_library(kiv_base::kiv_base ALIAS kiv_base)
target_include_directories(kiv_base INTERFACE $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>)
set_target_properties(kiv_base PROPERTIES LINKER_LANGUAGE CXX)
if(WIN32)
  enable_language(RC)
  configure_file(platform/win32/version.rc.in ${PROJECT_BINARY_DIR}/version.rc @ONLY)
  # Not among kiv_objects: test programs have the compiler's own.
  target_sources(kiv_base PRIVATE ${PROJECT_BINARY_DIR}/version.rc platform/win32/runtime.cpp)
  kiv_library_sources(kiv_base)
  set_target_properties(kiv_base PROPERTIES PREFIX "" LINK_DEPENDS ${PROJECT_BINARY_DIR}/kiv_base.def)
  target_link_options(kiv_base PRIVATE ${PROJECT_BINARY_DIR}/kiv_base.def
    -static -static-libgcc -static-libstdc++ -Wl,--dynamicbase -Wl,--nxcompat
    $<$<CONFIG:Release>:-s>)
  target_link_libraries(kiv_base PRIVATE ws2_32 advapi32)
  set(kiv_needs kernel32.dll ws2_32.dll advapi32.dll msvcrt.dll)
else()
  find_package(Threads REQUIRED)
  set_target_properties(kiv_base PROPERTIES
    VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
    LINK_DEPENDS ${PROJECT_BINARY_DIR}/kiv_base.map)
  target_link_options(kiv_base PRIVATE
    -Wl,--version-script=${PROJECT_BINARY_DIR}/kiv_base.map -Wl,-Bsymbolic-functions
    -Wl,--as-needed -Wl,-z,nodelete)  # threads of it may still run when a program is done with it
  if(NOT KIV_SANITIZE)
    target_link_options(kiv_base PRIVATE -Wl,-z,defs -static-libgcc -static-libstdc++)
  endif()
  target_link_libraries(kiv_base PRIVATE Threads::Threads)
  set(kiv_needs libc.so.6 ld-linux-x86-64.so.2)
endif()

# The compiler makes an import library for its own linker; Microsoft's wants short entries, which
# only LLVM's tool makes. Where that is missing, so is this library.
find_program(KIV_LLVM_DLLTOOL NAMES llvm-dlltool llvm-dlltool-14)
mark_as_advanced(KIV_LLVM_DLLTOOL)
if(WIN32 AND KIV_LLVM_DLLTOOL)
  set(KIV_MICROSOFT_IMPORT_LIBRARY ${PROJECT_BINARY_DIR}/lib/kiv_base.lib)
  add_custom_command(OUTPUT ${KIV_MICROSOFT_IMPORT_LIBRARY} VERBATIM
    DEPENDS ${PROJECT_BINARY_DIR}/kiv_base.def
    COMMAND ${KIV_LLVM_DLLTOOL} -m $<IF:$<EQUAL:${CMAKE_SIZEOF_VOID_P},4>,i386,i386:x86-64>
            -d ${PROJECT_BINARY_DIR}/kiv_base.def -D kiv_base.dll -l ${KIV_MICROSOFT_IMPORT_LIBRARY})
  add_custom_target(kiv_microsoft_import_library ALL DEPENDS ${KIV_MICROSOFT_IMPORT_LIBRARY})
endif()

# A library that needs more than the system itself does not get out of the build.
if(NOT KIV_SANITIZE)
  add_custom_command(TARGET kiv_base POST_BUILD VERBATIM
    COMMAND ${CMAKE_COMMAND} -D BINARY=$<TARGET_FILE:kiv_base> -D OBJDUMP=${CMAKE_OBJDUMP}
            -D "NEEDS=${kiv_needs}" -P ${PROJECT_SOURCE_DIR}/cmake/check_binary.cmake)
endif()
