# GTest::gtest and GTest::gtest_main: the built library where one is installed for this system, else
# compiled from its source.
if(NOT CMAKE_CROSSCOMPILING)
  find_package(GTest QUIET)
endif()
if(NOT TARGET GTest::gtest_main)
  find_path(KIV_GOOGLETEST_SOURCE googletest/src/gtest-all.cc PATHS /usr/src /usr/local/src
    PATH_SUFFIXES googletest NO_CMAKE_FIND_ROOT_PATH
    DOC "GoogleTest's source folder, for systems that its library is not installed for")
  mark_as_advanced(KIV_GOOGLETEST_SOURCE)
  if(NOT KIV_GOOGLETEST_SOURCE)
    message(FATAL_ERROR "The tests need GoogleTest: its library (Debian: libgtest-dev) or its source "
      "(Debian: googletest, or any folder by -D KIV_GOOGLETEST_SOURCE=FOLDER). "
      "Without tests: -D KIV_BUILD_TESTS=OFF.")
  endif()
  set(INSTALL_GTEST OFF)
  set(BUILD_GMOCK OFF)
  add_subdirectory(${KIV_GOOGLETEST_SOURCE} googletest EXCLUDE_FROM_ALL)
endif()
