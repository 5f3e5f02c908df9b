# Warnings for our own targets only; third-party headers come in as system includes.
add_library(corvansil_warnings INTERFACE)
target_compile_options(corvansil_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wold-style-cast -Wnon-virtual-dtor)
# GCC 12 at -O3 warns falsely of overlapping copies inside std::string's operator+ on a
# literal and a temporary (GCC bug 105651); the warning says nothing about our code.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    target_compile_options(corvansil_warnings INTERFACE -Wno-restrict)
endif()
if(CORVANSIL_WERROR)
    target_compile_options(corvansil_warnings INTERFACE -Werror)
endif()

if(CORVANSIL_SANITIZE)
    add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=address,undefined -fno-sanitize-recover=all)
endif()

# corvansil_add_library(name SOURCES ... LIBS ...): one static library per source folder.
function(corvansil_add_library name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
    add_library(${name} STATIC ${ARG_SOURCES})
    target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR})
    target_link_libraries(${name} PUBLIC ${ARG_LIBS} PRIVATE corvansil_warnings)
endfunction()

# corvansil_add_test(name SOURCES ... LIBS ...): a GoogleTest program run by CTest, with
# Qt on its offscreen platform so that window tests need no display.
function(corvansil_add_test name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE ${ARG_LIBS} GTest::gtest GTest::gmock GTest::gtest_main corvansil_warnings)
    target_compile_definitions(${name} PRIVATE
        CORVANSIL_SOURCE_DIR="${PROJECT_SOURCE_DIR}"
        CORVANSIL_BINARY_DIR="${PROJECT_BINARY_DIR}")
    gtest_discover_tests(${name}
        PROPERTIES ENVIRONMENT "QT_QPA_PLATFORM=offscreen"
        DISCOVERY_TIMEOUT 60)
endfunction()

# corvansil_add_bench(name SOURCES ... LIBS ...): a Google Benchmark program.
function(corvansil_add_bench name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE ${ARG_LIBS} benchmark::benchmark corvansil_warnings)
endfunction()
