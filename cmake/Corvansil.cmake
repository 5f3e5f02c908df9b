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
    if(WIN32)
        file(RELATIVE_PATH dir ${PROJECT_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
        list(TRANSFORM ARG_SOURCES PREPEND ${dir}/ OUTPUT_VARIABLE paths)
        set(kept)
        foreach(source path IN ZIP_LISTS ARG_SOURCES paths)
            if(NOT path IN_LIST CORVANSIL_WIN32_LEFT_OUT_SOURCES)
                list(APPEND kept ${source})
            endif()
        endforeach()
        set(ARG_SOURCES ${kept})
    endif()
    add_library(${name} STATIC ${ARG_SOURCES})
    target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR})
    target_link_libraries(${name} PUBLIC ${ARG_LIBS} PRIVATE corvansil_warnings)
endfunction()

# corvansil_add_test(name SOURCES ... LIBS ...): a GoogleTest program run by CTest, with
# Qt on its offscreen platform so that window tests need no display. For Windows the program
# runs under Wine, which sees the Linux file system as drive Z:; its tests are listed when
# CTest runs (a build machine need not start Wine), and a program in
# CORVANSIL_WIN32_LEFT_OUT_TESTS is not built. FIXTURES names the CTest fixtures its tests need.
function(corvansil_add_test name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LIBS;FIXTURES" ${ARGN})
    if(WIN32 AND name IN_LIST CORVANSIL_WIN32_LEFT_OUT_TESTS)
        return()
    endif()
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE ${ARG_LIBS} corvansil_test_support GTest::gtest GTest::gmock
        GTest::gtest_main corvansil_warnings)
    if(WIN32)
        target_compile_definitions(${name} PRIVATE
            CORVANSIL_SOURCE_DIR="Z:${PROJECT_SOURCE_DIR}"
            CORVANSIL_BINARY_DIR="Z:${PROJECT_BINARY_DIR}")
        gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60
            PROPERTIES FIXTURES_REQUIRED "${ARG_FIXTURES}")
        return()
    endif()
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
