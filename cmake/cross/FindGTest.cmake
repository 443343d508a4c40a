# GoogleTest for the target, from the sources that Debian's libgtest-dev brings.

if(NOT TARGET GTest::gtest)
  find_path(GTEST_SOURCE_DIR CMakeLists.txt PATHS /usr/src/googletest
            NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
  if(GTEST_SOURCE_DIR)
    set(INSTALL_GTEST OFF)
    set(gtest_disable_pthreads ON)
    add_subdirectory("${GTEST_SOURCE_DIR}" "${CMAKE_BINARY_DIR}/googletest" EXCLUDE_FROM_ALL SYSTEM)
    foreach(library gtest gtest_main gmock gmock_main)
      target_compile_options(${library} PRIVATE -w)
    endforeach()
  endif()
endif()

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(GTest REQUIRED_VARS GTEST_SOURCE_DIR)
