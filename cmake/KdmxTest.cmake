# kdmx_add_test(NAME SOURCES ... [LINKS ...] [DEFINES ...] [DISPLAY] [RUN_AS NAME ... ] [ENVIRONMENT ...] [TIMEOUT s])
#
# A test program "<folder>_<name>_test" and its CTest entry "<folder>.<name>". The program takes in the panel's
# libraries whole, as the panel does.
#
# DISPLAY      runs it on a virtual display of its own, with private user folders
# ENVIRONMENT  further variables of the CTest entry
# TIMEOUT      seconds after which a test counts as hung; 120 unless told
function(kdmx_add_test name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "DISPLAY" "TIMEOUT" "SOURCES;LINKS;DEFINES;ENVIRONMENT")
    string(REPLACE "." "_" program ${name}_test)
    add_executable(${program} ${arg_SOURCES})
    target_compile_definitions(${program} PRIVATE ${arg_DEFINES})
    target_link_libraries(${program} PRIVATE kdmx_test_support Qt6::Test ${arg_LINKS})
    kdmx_link_whole(${program} kdmx_resources kdmx_shared kdmx_panel)
    kdmx_add_test_run(${name} PROGRAM ${program} ${ARGN})
endfunction()

# kdmx_add_test_run(NAME PROGRAM TARGET [DISPLAY] [ENVIRONMENT ...] [TIMEOUT s])
#
# A CTest entry for a test program that exists already, for example in another environment.
function(kdmx_add_test_run name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "DISPLAY" "TIMEOUT;PROGRAM" "SOURCES;LINKS;DEFINES;ENVIRONMENT")
    set(command $<TARGET_FILE:${arg_PROGRAM}>)
    if(arg_DISPLAY)
        list(PREPEND command ${CMAKE_SOURCE_DIR}/tools/virtual-display)
    endif()
    if(NOT arg_TIMEOUT)
        set(arg_TIMEOUT 120)
    endif()
    add_test(NAME ${name} COMMAND ${command})
    set_tests_properties(${name} PROPERTIES
        TIMEOUT ${arg_TIMEOUT}
        ENVIRONMENT "${KDMX_TEST_ENVIRONMENT};${arg_ENVIRONMENT}"
        SKIP_REGULAR_EXPRESSION "^Nothing was run")
endfunction()
