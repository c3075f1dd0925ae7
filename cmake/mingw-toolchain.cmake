# Cross compiler for Windows: cmake -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-toolchain.cmake
# -DTDEFAULT_ARCHITECTURE=x86_64 (or i686). Programs run under Wine.
set(CMAKE_SYSTEM_NAME Windows)
if(NOT TDEFAULT_ARCHITECTURE)
  set(TDEFAULT_ARCHITECTURE x86_64)
endif()
set(CMAKE_SYSTEM_PROCESSOR ${TDEFAULT_ARCHITECTURE})
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES TDEFAULT_ARCHITECTURE)

set(triplet ${TDEFAULT_ARCHITECTURE}-w64-mingw32)
# The posix variant: std::mutex and std::thread exist; linked statically.
set(CMAKE_CXX_COMPILER ${triplet}-g++-posix)
set(CMAKE_RC_COMPILER ${triplet}-windres)
set(TDEFAULT_WIDL ${triplet}-widl)
set(TDEFAULT_OBJDUMP ${triplet}-objdump)

set(CMAKE_FIND_ROOT_PATH /usr/${triplet})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE BOTH)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)

set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../scripts/wine.sh)
