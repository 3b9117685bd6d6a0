# add_qt_test(name SOURCES ... [LIBRARIES ...] [DEFINITIONS ...] [ENVIRONMENT ...]): one Qt Test program, run under CTest.
function(add_qt_test name)
    cmake_parse_arguments(arg "" "" "SOURCES;LIBRARIES;DEFINITIONS;ENVIRONMENT" ${ARGN})
    add_qt_test_program(${name} SOURCES ${arg_SOURCES} LIBRARIES ${arg_LIBRARIES} DEFINITIONS ${arg_DEFINITIONS})
    add_qt_test_run(${name} ${name} ENVIRONMENT ${arg_ENVIRONMENT})
endfunction()

# add_qt_test_program(name SOURCES ... [LIBRARIES ...] [DEFINITIONS ...]): the program alone.
function(add_qt_test_program name)
    cmake_parse_arguments(arg "" "" "SOURCES;LIBRARIES;DEFINITIONS" ${ARGN})
    add_executable(${name} ${arg_SOURCES})
    target_link_libraries(${name} PRIVATE Qt6::Test ${arg_LIBRARIES})
    target_compile_definitions(${name} PRIVATE ${arg_DEFINITIONS})
    target_include_directories(${name} PRIVATE "${CMAKE_SOURCE_DIR}")
    set_target_properties(${name} PROPERTIES AUTOMOC ON RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/tests")
    enable_warnings(${name})
    use_precompiled_headers(${name})
endfunction()

# add_qt_test_run(program run_name [ENVIRONMENT ...]): one more run of a test program, in another environment; behind the
# program's name the list may hold the functions to run.
function(add_qt_test_run program run_name)
    cmake_parse_arguments(arg "" "" "ENVIRONMENT" ${ARGN})
    add_test(NAME ${run_name} COMMAND ${program})
    set_tests_properties(${run_name} PROPERTIES ENVIRONMENT
        "QT_QPA_PLATFORM=offscreen;LSAN_OPTIONS=suppressions=${CMAKE_SOURCE_DIR}/cmake/leaks_elsewhere.supp:print_suppressions=0;${arg_ENVIRONMENT}")
endfunction()
