# What every target of the project is built with, and the short forms that the folders use.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)

add_compile_options(-Wall -Wextra -Wpedantic -Wconversion -Wno-sign-conversion -Wnon-virtual-dtor
    -Woverloaded-virtual -Wold-style-cast -Wimplicit-fallthrough)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    add_compile_options(-Wshadow=local -Wlogical-op -Wduplicated-cond)
    add_compile_options(-Wno-psabi)  # notes that 32-bit ARM's calls were others before GCC 7
endif()

if(NORVAD_STATIC)
    add_compile_options(-ffunction-sections -fdata-sections)  # what nobody calls is not linked
endif()

# Another compiler may warn of what ours do not, which is no reason to build nothing.
option(NORVAD_WERROR "Treat warnings as errors" OFF)
if(NORVAD_WERROR)
    add_compile_options(-Werror)
endif()

# Processors that multiply and add in one instruction round once where others round twice: the same time stamps would
# give other rate ratios and peer delays on arm64 than on amd64. Every machine computes the same.
add_compile_options(-ffp-contract=off)

# Times have 64 bits on 32-bit machines too. They pass from target to target, so all are built alike; only a target with
# the property NORVAD_SYSTEM_TIMES, which hands times to a library, has them as the system's libraries do.
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    add_compile_definitions(_FILE_OFFSET_BITS=64 $<$<NOT:$<BOOL:$<TARGET_PROPERTY:NORVAD_SYSTEM_TIMES>>>:_TIME_BITS=64>)
endif()

# "" | "address,undefined" | "fuzzer-no-link,address,undefined"
set(NORVAD_SANITIZE "" CACHE STRING "Sanitizers to build with")
if(NORVAD_SANITIZE)
    add_compile_options(-fsanitize=${NORVAD_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${NORVAD_SANITIZE})
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        add_compile_options(-Wno-maybe-uninitialized)  # false alarms in instrumented code
    endif()
endif()

# norvad_library(name [SOURCES ...] [LINKS ...]): a static library of the named sources, or of every source of the
# folder; includes are written from the root.
function(norvad_library name)
    cmake_parse_arguments(arg "" "" "SOURCES;LINKS" ${ARGN})
    if(NOT arg_SOURCES)
        file(GLOB arg_SOURCES CONFIGURE_DEPENDS *.cpp)
    endif()
    add_library(${name} STATIC ${arg_SOURCES})
    target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR})
    target_link_libraries(${name} PUBLIC ${arg_LINKS})
endfunction()

# norvad_test(name [APART|BY_HAND] [TIMEOUT seconds] [SOURCES ...] [LINKS ...]): one GoogleTest program, of every source of
# the folder and those below it unless they are named; its cases are ctest's, each ended after 120 seconds unless more are
# named. One that is run by hand is none of ctest's. The target unit_tests builds all that do not stand apart.
function(norvad_test name)
    cmake_parse_arguments(arg "APART;BY_HAND" "TIMEOUT" "SOURCES;LINKS" ${ARGN})
    if(NOT arg_TIMEOUT)
        set(arg_TIMEOUT 120)
    endif()
    if(NOT arg_SOURCES)
        file(GLOB_RECURSE arg_SOURCES CONFIGURE_DEPENDS *.cpp)
    endif()
    add_executable(${name} ${arg_SOURCES})
    target_link_libraries(${name} PRIVATE norvad_test_support ${arg_LINKS} GTest::gmock GTest::gtest_main)
    target_compile_options(${name} PRIVATE -O0)  # what is under test is optimised, the tests build sooner
    target_precompile_headers(${name} REUSE_FROM norvad_test_headers)
    if(arg_BY_HAND)
        return()
    endif()
    gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT ${arg_TIMEOUT})
    if(NOT arg_APART)
        add_dependencies(unit_tests ${name})
    endif()
endfunction()

# norvad_fuzzer(name LINKS ...): the libFuzzer target of name.cpp and the sources in the folder name, if there is one; its
# seeds are in fuzz/corpus/name.
function(norvad_fuzzer name)
    cmake_parse_arguments(arg "" "" "LINKS" ${ARGN})
    file(GLOB parts CONFIGURE_DEPENDS ${name}/*.cpp)
    add_executable(${name} ${name}.cpp ${parts})
    target_link_libraries(${name} PRIVATE ${arg_LINKS})
    target_link_options(${name} PRIVATE -fsanitize=fuzzer)
endfunction()
