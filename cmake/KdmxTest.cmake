# Qt would give each test its folders as definitions, for QFINDTESTDATA, which no test here uses. Without them the same
# precompiled header and the same cached objects fit all.
set_property(TARGET Qt6::Test PROPERTY INTERFACE_COMPILE_DEFINITIONS QT_TESTLIB_LIB)

# kdmx_add_test(NAME SOURCES ... [LINKS ...] [DEFINES ...] [DISPLAY] [ENVIRONMENT ...] [TIMEOUT s])
#
# A test program "<name, with _ for .>_test" and a CTest entry of that name. The program takes in the panel's libraries
# whole, as the panel does.
#
# SOURCES      its own sources
# LINKS        further libraries
# DEFINES      preprocessor definitions
# DISPLAY      runs it on a virtual display of its own, with private user folders
# ENVIRONMENT  further variables of the CTest entry
# TIMEOUT      seconds after which it counts as hung; default: 300
function(kdmx_add_test name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "DISPLAY" "TIMEOUT" "SOURCES;LINKS;DEFINES;ENVIRONMENT")
    string(REPLACE "." "_" program ${name}_test)
    add_executable(${program} ${arg_SOURCES})
    target_compile_definitions(${program} PRIVATE ${arg_DEFINES})
    target_link_libraries(${program} PRIVATE kdmx_test_support Qt6::Test ${arg_LINKS})
    kdmx_link_panel(${program})
    set(run PROGRAM ${program} ENVIRONMENT ${arg_ENVIRONMENT})
    if(arg_DISPLAY)
        list(APPEND run DISPLAY)
    endif()
    if(arg_TIMEOUT)
        list(APPEND run TIMEOUT ${arg_TIMEOUT})
    endif()
    kdmx_add_test_run(${name} ${run})
endfunction()

# kdmx_add_test_run(NAME PROGRAM TARGET [ARGUMENTS ...] [DISPLAY] [ENVIRONMENT ...] [TIMEOUT s])
#
# A CTest entry for a test program that exists already, for example in another environment.
function(kdmx_add_test_run name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "DISPLAY" "TIMEOUT;PROGRAM" "ARGUMENTS;ENVIRONMENT")
    set(command ${CMAKE_CROSSCOMPILING_EMULATOR} $<TARGET_FILE:${arg_PROGRAM}> ${arg_ARGUMENTS})
    if(arg_DISPLAY)
        list(PREPEND command ${CMAKE_SOURCE_DIR}/tools/virtual-display)
    endif()
    if(NOT arg_TIMEOUT)
        set(arg_TIMEOUT 300)
    endif()
    add_test(NAME ${name} COMMAND ${command})
    set_tests_properties(${name} PROPERTIES
        TIMEOUT ${arg_TIMEOUT}
        ENVIRONMENT "${KDMX_TEST_ENVIRONMENT};${arg_ENVIRONMENT}")
endfunction()
