# Cross-compiles Corvansil for 64-bit Windows with Debian's mingw-w64. The posix-thread
# compilers are used: the win32-thread ones lack std::thread and std::mutex, which GoogleTest
# and our own code need. Programs are linked statically so that a copied .exe runs on its own,
# and CTest starts them through Wine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(CORVANSIL_MINGW_PREFIX x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${CORVANSIL_MINGW_PREFIX}-gcc-posix)
set(CMAKE_CXX_COMPILER ${CORVANSIL_MINGW_PREFIX}-g++-posix)
set(CMAKE_RC_COMPILER ${CORVANSIL_MINGW_PREFIX}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${CORVANSIL_MINGW_PREFIX})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_EXE_LINKER_FLAGS_INIT "-static -static-libgcc -static-libstdc++")

find_program(CORVANSIL_WINE NAMES wine wine64 REQUIRED)
set(CMAKE_CROSSCOMPILING_EMULATOR ${CORVANSIL_WINE})
