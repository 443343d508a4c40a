# 64-bit Windows, cross-built with Debian's g++-mingw-w64-x86-64-posix and run under Wine.

set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(TAVU_TARGET_TRIPLET x86_64-w64-mingw32)
# The "posix" flavour: the other one has no std::thread.
set(CMAKE_C_COMPILER ${TAVU_TARGET_TRIPLET}-gcc-posix) # for GoogleTest
set(CMAKE_CXX_COMPILER ${TAVU_TARGET_TRIPLET}-g++-posix)
set(CMAKE_RC_COMPILER ${TAVU_TARGET_TRIPLET}-windres)

# Nothing of the build machine's may be found by accident; header-only libraries that we do share
# with it are named one by one in cmake/cross.
set(CMAKE_FIND_ROOT_PATH /usr/${TAVU_TARGET_TRIPLET})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

list(APPEND CMAKE_MODULE_PATH "${CMAKE_CURRENT_LIST_DIR}/cross")

get_filename_component(TAVU_WINE "${CMAKE_CURRENT_LIST_DIR}/../scripts/wine" ABSOLUTE)
set(CMAKE_CROSSCOMPILING_EMULATOR "${TAVU_WINE};${CMAKE_BINARY_DIR}/wine")
