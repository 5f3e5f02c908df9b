# What the Windows build contains. Folders and sources that still depend on POSIX, Qt or the
# Linux stand-in hosts are named here and left out; each list shrinks as a piece gains its
# Windows twin, and a twin is added with `if(WIN32) target_sources(...)` in its own folder.

# Source folders (of the top-level list) that are not built for Windows.
set(CORVANSIL_WIN32_LEFT_OUT_DIRS
    hosts/rose hosts/tavro)

# Library sources (relative to the project folder) that corvansil_add_library drops.
set(CORVANSIL_WIN32_LEFT_OUT_SOURCES
    src/automation/rpc_client.cpp src/automation/rpc_reads.cpp src/automation/rpc_listen.cpp
    src/automation/rpc_server.cpp src/automation/rpc_socket.cpp
    src/platform/files_posix.cpp src/platform/registry.cpp src/platform/registry_file.cpp
    src/platform/rose_socket.cpp
    src/cli/report_file_posix.cpp src/cli/stop.cpp src/cli/terminal_posix.cpp)

# Programs not built for Windows yet.
set(CORVANSIL_WIN32_LEFT_OUT_PROGRAMS
    )

# Test folders built for Windows, and test programs in them that are not.
set(CORVANSIL_WIN32_TEST_DIRS
    automation cli install com window)
set(CORVANSIL_WIN32_LEFT_OUT_TESTS
    automation_rpc_test install_test)

# Resource scripts (.rc) are compiled with windres.
enable_language(RC)

# Windows headers: no min/max macros over std::min/std::max; Windows 10 APIs.
add_compile_definitions(NOMINMAX _WIN32_WINNT=0x0A00)

# GoogleTest from the sources of Debian's googletest package, built once with our compiler.
# Its targets carry the GTest:: names that find_package(GTest) gives on Linux.
macro(corvansil_windows_gtest)
    set(BUILD_GMOCK ON CACHE BOOL "" FORCE)
    set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
    set(gtest_disable_pthreads OFF CACHE BOOL "" FORCE)
    add_subdirectory(/usr/src/googletest ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
endmacro()
