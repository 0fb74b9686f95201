# Helpers of this project's build: compile options, libraries with declared edges, plug-ins and tests.
include_guard()

# Header-only libraries are reached through a folder that holds just them, so that a cross build never sees /usr/include.
set(QV_THIRD_PARTY ${CMAKE_BINARY_DIR}/third-party)
file(MAKE_DIRECTORY ${QV_THIRD_PARTY})
foreach(name rapidjson boost CLI)
    if(EXISTS /usr/include/${name})
        file(CREATE_LINK /usr/include/${name} ${QV_THIRD_PARTY}/${name} SYMBOLIC)
    endif()
endforeach()
add_library(third_party INTERFACE)
target_include_directories(third_party SYSTEM INTERFACE ${QV_THIRD_PARTY})
target_compile_definitions(third_party INTERFACE RAPIDJSON_HAS_STDSTRING=0)

add_library(qv_options INTERFACE)
target_compile_features(qv_options INTERFACE cxx_std_20 c_std_11)
target_compile_options(qv_options INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wcast-align -Wformat=2
    -Werror -fstack-protector-strong
    $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Wold-style-cast -Woverloaded-virtual>
    # GCC 12 sees overlaps in "literal" + std::string that cannot be (its bug 105651).
    $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
target_compile_definitions(qv_options INTERFACE _GLIBCXX_ASSERTIONS)
if(WIN32)
    target_compile_definitions(qv_options INTERFACE
        UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN _WIN32_WINNT=0x0A00 __USE_MINGW_ANSI_STDIO=0)
    target_link_options(qv_options INTERFACE -static -fstack-protector-strong)
endif()
if(CMAKE_BUILD_TYPE STREQUAL Release)
    target_compile_definitions(qv_options INTERFACE _FORTIFY_SOURCE=2)
    target_link_options(qv_options INTERFACE -s)
endif()
option(QV_FUZZ "Build the fuzz targets with libFuzzer (native build with clang)" OFF)
if(QV_FUZZ)
    target_compile_options(qv_options INTERFACE -fsanitize=fuzzer-no-link -Wno-unknown-warning-option)
endif()
if(QV_SANITIZE)
    set(CMAKE_C_FLAGS_DEBUG "-g -O1")   # as a flag, so that a target's or a file's own -O0 comes after it
    set(CMAKE_CXX_FLAGS_DEBUG "-g -O1")
    target_compile_options(qv_options INTERFACE -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer
        -fno-sanitize=alignment   # the frames with which uses after return are found are aligned to 32 bytes, our items to 64
        -Wno-maybe-uninitialized) # warns about the sanitizers' own code
    target_link_options(qv_options INTERFACE -fsanitize=address,undefined)
endif()

# qv_library(NAME [ROOT path] SOURCES ... WINDOWS ... USES ... SYSTEM ...): a static library of the folder this is called in, whose
# headers are included as "path/File.h" ("NAME/File.h" without it).
# Only the libraries named in USES can be included: each is reached through an include root that holds its folder alone.
function(qv_library name)
    cmake_parse_arguments(arg "" "ROOT" "SOURCES;WINDOWS;USES;SYSTEM" ${ARGN})
    if(NOT arg_ROOT)
        set(arg_ROOT ${name})
    endif()
    set(root ${CMAKE_BINARY_DIR}/include-roots/${name})
    cmake_path(GET arg_ROOT PARENT_PATH parent)
    file(MAKE_DIRECTORY ${root}/${parent})
    file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR} ${root}/${arg_ROOT} SYMBOLIC)
    set(sources ${arg_SOURCES})
    if(WIN32)
        list(APPEND sources ${arg_WINDOWS})
        set(system ${arg_SYSTEM})
    endif()
    if(sources)
        add_library(${name} STATIC ${sources})
        target_include_directories(${name} PUBLIC ${root})
        target_link_libraries(${name} PUBLIC ${arg_USES} ${system} PRIVATE qv_options third_party)
        target_compile_features(${name} PUBLIC cxx_std_20)
    else()
        add_library(${name} INTERFACE)
        target_include_directories(${name} INTERFACE ${root})
        target_link_libraries(${name} INTERFACE ${arg_USES} ${system})
    endif()
endfunction()

# qv_test(NAME SOURCES ... USES ... [TIMEOUT seconds]): one GoogleTest program, one ctest entry (under Wine in the cross build).
function(qv_test name)
    cmake_parse_arguments(arg "" "TIMEOUT" "SOURCES;USES;ARGS" ${ARGN})
    if(NOT arg_TIMEOUT)
        set(arg_TIMEOUT 120)
    endif()
    add_executable(${name} ${arg_SOURCES})
    target_link_libraries(${name} PRIVATE ${arg_USES} test_fixtures qv_gtest qv_options third_party)
    target_compile_options(${name} PRIVATE -O0 -U_FORTIFY_SOURCE) # compiles in half the time; what is tested stays optimised
    add_test(NAME ${name} COMMAND ${name} ${arg_ARGS})
    set_tests_properties(${name} PROPERTIES TIMEOUT ${arg_TIMEOUT} ENVIRONMENT ASAN_OPTIONS=detect_stack_use_after_return=1)
endfunction()

# qv_slow_to_compile(SOURCES): files that are only templates of a library, such as CLI11's, are not optimised for the sanitizers.
function(qv_slow_to_compile)
    if(QV_SANITIZE)
        set_source_files_properties(${ARGN} PROPERTIES COMPILE_OPTIONS -O0)
    endif()
endfunction()

# qv_fuzz(NAME SOURCES ... USES ... CORPUS folder): native only. With QV_FUZZ (clang) a libFuzzer program; otherwise a program
# that replays the corpus, run by ctest.
function(qv_fuzz name)
    cmake_parse_arguments(arg "" "CORPUS" "SOURCES;USES" ${ARGN})
    if(WIN32)
        return()
    endif()
    add_executable(${name} ${arg_SOURCES})
    target_link_libraries(${name} PRIVATE ${arg_USES} qv_options third_party)
    if(NOT TARGET fuzz_targets)
        add_custom_target(fuzz_targets)
    endif()
    add_dependencies(fuzz_targets ${name})
    if(QV_FUZZ)
        target_compile_options(${name} PRIVATE -fsanitize=fuzzer)
        target_link_options(${name} PRIVATE -fsanitize=fuzzer)
    else()
        target_sources(${name} PRIVATE ${CMAKE_SOURCE_DIR}/tests/fuzz/Replay.cpp)
        add_test(NAME ${name} COMMAND ${name} ${arg_CORPUS})
    endif()
endfunction()
