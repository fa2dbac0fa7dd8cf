# Compiler options of every target of this project, as one interface target: kdmx_compile_options.

add_library(kdmx_compile_options INTERFACE)

# Build paths must not end up in the binaries. Coverage keeps them: it finds the sources by them.
if(CMAKE_CXX_FLAGS_DEBUG MATCHES "--coverage")
    set(map_paths -fmacro-prefix-map)
else()
    set(map_paths -ffile-prefix-map)
endif()

target_compile_options(kdmx_compile_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual
    $<$<BOOL:${KDMX_WARNINGS_AS_ERRORS}>:-Werror>
    # This one GCC sees impossible overlaps in the standard library's texts (its bug 105651).
    $<$<AND:$<CXX_COMPILER_ID:GNU>,$<VERSION_GREATER_EQUAL:$<CXX_COMPILER_VERSION>,12>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,13>>:-Wno-restrict>
    ${map_paths}=${CMAKE_SOURCE_DIR}=.
    ${map_paths}=${CMAKE_BINARY_DIR}=.
    $<$<BOOL:${WIN32}>:-ffile-prefix-map=${KDMX_WINDOWS_QT}=qt>)

# Nor may the time at which they were linked.
target_link_options(kdmx_compile_options INTERFACE $<$<BOOL:${WIN32}>:-Wl,--no-insert-timestamp>)

# Strict Qt: no silent conversions between text types, no macros named like ordinary words.
target_compile_definitions(kdmx_compile_options INTERFACE
    QT_NO_CAST_FROM_ASCII
    QT_NO_CAST_TO_ASCII
    QT_NO_CAST_FROM_BYTEARRAY
    QT_NO_URL_CAST_FROM_STRING
    QT_NO_FOREACH
    QT_NO_KEYWORDS
    $<$<BOOL:${WIN32}>:UNICODE;_UNICODE>)

if(KDMX_SANITIZE)
    target_compile_options(kdmx_compile_options INTERFACE
        -fsanitize=${KDMX_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(kdmx_compile_options INTERFACE -fsanitize=${KDMX_SANITIZE})
endif()

# kdmx_without_qt(TARGET ...)
#
# For sources that have no Qt in them: nothing is generated from them, which saves a look at each.
function(kdmx_without_qt)
    set_target_properties(${ARGN} PROPERTIES AUTOMOC OFF AUTOUIC OFF AUTORCC OFF)
endfunction()

# kdmx_takes_signals(PROGRAM ...)
#
# For programs that tests send signals to: makes sure that ThreadSanitizer loses none.
function(kdmx_takes_signals)
    if(KDMX_SANITIZE MATCHES thread)
        foreach(program IN LISTS ARGN)
            target_sources(${program} PRIVATE ${CMAKE_SOURCE_DIR}/tests/support/firstwait_tsan.cpp)
        endforeach()
    endif()
endfunction()

# kdmx_optimize_as_one(TARGET ...)
#
# Optimises libraries and the programs that link them across the borders of source files, in what users get: reading a
# message is many small calls. Only where it is worth the longer links.
function(kdmx_optimize_as_one)
    set_property(TARGET ${ARGN} PROPERTY INTERPROCEDURAL_OPTIMIZATION_RELEASE ON)
endfunction()
