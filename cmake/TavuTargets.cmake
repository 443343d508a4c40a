# How this project declares its libraries, programs and tests: one place for the include root, the
# warnings and the sanitizers.

add_library(tavu_options INTERFACE)
target_include_directories(tavu_options INTERFACE "${PROJECT_SOURCE_DIR}/src")
if(MSVC)
  target_compile_options(tavu_options INTERFACE /W4 /permissive- /utf-8 /Zc:__cplusplus)
  target_compile_definitions(tavu_options INTERFACE _CRT_SECURE_NO_WARNINGS)
else()
  target_compile_options(tavu_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow
                                                -Wnon-virtual-dtor -Woverloaded-virtual)
endif()
if(WIN32)
  include(TavuWindows)
endif()
if(TAVU_SANITIZE)
  target_compile_options(tavu_options INTERFACE -fsanitize=${TAVU_SANITIZE}
                                                -fno-omit-frame-pointer)
  target_link_options(tavu_options INTERFACE -fsanitize=${TAVU_SANITIZE})
  if(TAVU_SANITIZE MATCHES "undefined")
    target_compile_options(tavu_options INTERFACE -fno-sanitize-recover=undefined)
  endif()
endif()

# The half of each platform pair that this build needs: "posix" or "windows".
if(WIN32)
  set(TAVU_PLATFORM windows)
else()
  set(TAVU_PLATFORM posix)
endif()

# tavu_add_library(NAME sources... [LINK libraries...])
function(tavu_add_library name)
  cmake_parse_arguments(ARG "" "" "LINK" ${ARGN})
  add_library(${name} STATIC ${ARG_UNPARSED_ARGUMENTS})
  # How we compile is not what programs that use an installed library must do.
  target_link_libraries(${name} PUBLIC $<BUILD_INTERFACE:tavu_options> Threads::Threads ${ARG_LINK})
  target_compile_features(${name} PUBLIC cxx_std_20)
endfunction()

# tavu_add_test(NAME sources... [LINK libraries...] [LOCK resource]): a GoogleTest program. Natively
# each of its tests is a ctest test; under an emulator, where starting a process is slow, the program
# is one. Tests with the same LOCK don't run at the same time.
function(tavu_add_test name)
  cmake_parse_arguments(ARG "" "LOCK" "LINK" ${ARGN})
  add_executable(${name} ${ARG_UNPARSED_ARGUMENTS})
  target_link_libraries(${name} PRIVATE tavu_options ${ARG_LINK} GTest::gtest_main)
  set(lock)
  if(ARG_LOCK)
    set(lock RESOURCE_LOCK ${ARG_LOCK})
  endif()
  if(CMAKE_CROSSCOMPILING)
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES TIMEOUT 900 ${lock})
  else()
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST TEST_PREFIX "${name}." PROPERTIES TIMEOUT 300 ${lock})
  endif()
endfunction()
