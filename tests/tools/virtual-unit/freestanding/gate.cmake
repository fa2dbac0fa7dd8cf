# Compiles SOURCES as a kernel would, into one object, and looks at what that needs. Run with cmake -P; fails with the
# reason.
#
# COMPILER, NM       the tools
# SOURCES, INCLUDES  files and include folders, separated by commas
# OBJECT             the object file to be made
cmake_minimum_required(VERSION 3.25)

# A compiler may emit calls of these four for plain code; what takes the object in has them.
set(allowed memcpy memmove memset memcmp)

# An indented line is printed as it is; others are wrapped, and could not be searched for.
function(refuse reason)
    message(FATAL_ERROR "${SOURCES}\n  ${reason}")
endfunction()

string(REPLACE "," ";" SOURCES "${SOURCES}")
string(REPLACE "," ";" INCLUDES "${INCLUDES}")
list(TRANSFORM INCLUDES PREPEND "-I")

foreach(level -O0 -O2 -Os)
    execute_process(
        COMMAND ${COMPILER} -std=c++20 ${level} -ffreestanding -fno-exceptions -fno-rtti -fno-stack-protector
            ${INCLUDES} -r -nostdlib ${SOURCES} -o ${OBJECT}
        RESULT_VARIABLE result
        ERROR_VARIABLE messages)
    if(NOT result EQUAL 0)
        refuse("does not compile at ${level}:\n${messages}")
    endif()
    execute_process(COMMAND ${NM} ${OBJECT} OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
    # A gate that reads nothing would let everything through.
    if(NOT symbols MATCHES " T ")
        refuse("has no function at ${level}")
    endif()
    if(symbols MATCHES "_GLOBAL__sub_I_|_GLOBAL__I_|__cxa_atexit|__cxa_guard")
        refuse("runs code before its first call, or guards it, at ${level}:\n${symbols}")
    endif()
    string(REGEX MATCHALL " U [^\n]+" needed "${symbols}")
    foreach(symbol IN LISTS needed)
        string(REPLACE " U " "" symbol "${symbol}")
        if(NOT symbol IN_LIST allowed)
            refuse("needs a library: ${symbol} at ${level}")
        endif()
    endforeach()
endforeach()
