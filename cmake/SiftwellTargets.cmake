# Compiler settings shared by every target, and the ways in which targets are declared.

add_library(siftwell_options INTERFACE)
target_include_directories(siftwell_options INTERFACE ${PROJECT_SOURCE_DIR}/src)
# A field that a designated initializer leaves out has its default on purpose.
target_compile_options(siftwell_options INTERFACE
    -Wall -Wextra -Wshadow -Wconversion -Wold-style-cast -Wno-missing-field-initializers -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    target_compile_options(siftwell_options INTERFACE -Wthread-safety)
endif()
target_compile_definitions(siftwell_options INTERFACE
    SIFTWELL_VERSION="${PROJECT_VERSION}")
target_link_libraries(siftwell_options INTERFACE Threads::Threads)

# A fault of the processor may be thrown as an exception (base/Faults.h) where all code expects one
# from every instruction. The engine need not: it holds a lock wherever it may meet one, and would be a
# few per cent slower. Clang accepts the flag without a word and does nothing; sanitizers look after
# faults themselves.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_SYSTEM_PROCESSOR STREQUAL "x86_64"
        AND NOT SIFTWELL_SANITIZERS)
    set(is_engine "$<STREQUAL:$<TARGET_PROPERTY:NAME>,siftwell_fulltext>")
    target_compile_options(siftwell_options INTERFACE
        "$<$<NOT:${is_engine}>:-fnon-call-exceptions;-fdelete-dead-exceptions>")
    target_compile_definitions(siftwell_options INTERFACE SIFTWELL_FAULTS_UNWIND)
endif()

if(SIFTWELL_SANITIZERS)
    target_compile_options(siftwell_options INTERFACE
        -fsanitize=${SIFTWELL_SANITIZERS} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(siftwell_options INTERFACE -fsanitize=${SIFTWELL_SANITIZERS})
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # With them, GCC 12 sees uninitialized values inside of its own library.
        target_compile_options(siftwell_options INTERFACE -Wno-maybe-uninitialized)
    endif()
endif()
if(SIFTWELL_FUZZERS)
    target_compile_options(siftwell_options INTERFACE -fsanitize=fuzzer-no-link)
    target_compile_definitions(siftwell_options INTERFACE _GLIBCXX_ASSERTIONS)
    target_link_options(siftwell_options INTERFACE -fsanitize=fuzzer-no-link)
endif()

find_program(CCACHE ccache)
if(CCACHE)
    # Headers that are compiled in advance are compared by what they hold.
    set(CMAKE_CXX_COMPILER_LAUNCHER
        ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros ${CCACHE})
endif()

# siftwell_floor(NAME SOURCES file... USES floor... LIBRARIES target...)
# One folder under src/ is one static library of the same name. USES are the folders that it may
# include from, which a test compares with its #include lines.
function(siftwell_floor name)
    cmake_parse_arguments(FLOOR "" "" "SOURCES;USES;LIBRARIES" ${ARGN})
    list(TRANSFORM FLOOR_USES PREPEND siftwell_)
    add_library(siftwell_${name} STATIC ${FLOOR_SOURCES})
    target_link_libraries(siftwell_${name} PUBLIC siftwell_options ${FLOOR_USES} ${FLOOR_LIBRARIES})
endfunction()

# siftwell_test(NAME SOURCES file... USES floor...)
# One folder under tests/ is one test program, run by ctest as a whole.
function(siftwell_test name)
    cmake_parse_arguments(TEST "" "" "SOURCES;USES;LIBRARIES" ${ARGN})
    list(TRANSFORM TEST_USES PREPEND siftwell_)
    add_executable(test_${name} ${TEST_SOURCES})
    target_include_directories(test_${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
    # What the test library's macros expand to.
    target_compile_options(test_${name} PRIVATE -Wno-dangling-else)
    target_link_libraries(test_${name} PRIVATE
        ${TEST_USES} ${TEST_LIBRARIES} siftwell_test_support siftwell_options GTest::gmock_main)
    target_compile_definitions(test_${name} PRIVATE
        SIFTWELL_SOURCE_DIR="${PROJECT_SOURCE_DIR}"
        SIFTWELL_PROGRAM="$<TARGET_FILE_DIR:test_${name}>/siftwell")
    add_test(NAME ${name} COMMAND test_${name})
endfunction()

# siftwell_fuzzer(NAME SOURCES file... USES floor...)
# Beside the first source lie corpus/NAME, a folder of inputs, and perhaps NAME.dict. With libFuzzer
# the program fuzz_NAME looks for more of them (see script/fuzz); without, it runs those it is given.
# ctest replays the corpus in both.
add_custom_target(fuzzers)
function(siftwell_fuzzer name)
    cmake_parse_arguments(FUZZER "" "" "SOURCES;USES;LIBRARIES" ${ARGN})
    list(TRANSFORM FUZZER_USES PREPEND siftwell_)
    add_executable(fuzz_${name} ${FUZZER_SOURCES})
    target_include_directories(fuzz_${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests ${PROJECT_SOURCE_DIR}/fuzz)
    target_link_libraries(fuzz_${name} PRIVATE ${FUZZER_USES} ${FUZZER_LIBRARIES} siftwell_options)
    if(SIFTWELL_FUZZERS)
        target_link_options(fuzz_${name} PRIVATE -fsanitize=fuzzer)
        target_compile_definitions(fuzz_${name} PRIVATE SIFTWELL_LIBFUZZER)
    else()
        target_sources(fuzz_${name} PRIVATE ${PROJECT_SOURCE_DIR}/fuzz/Replay.cpp)
    endif()
    add_dependencies(fuzzers fuzz_${name})
    list(GET FUZZER_SOURCES 0 first)
    cmake_path(GET first PARENT_PATH folder)
    add_test(NAME fuzz_${name}
        COMMAND fuzz_${name} -runs=0 ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/corpus/${name})
    set_tests_properties(fuzz_${name} PROPERTIES TIMEOUT 600)
endfunction()
