# Objects that were compiled once are taken from the cache of ccache, where that is installed: a fresh clone compiles only
# what differs from the last one. A launcher that was asked for (CMAKE_CXX_COMPILER_LAUNCHER) is left alone.
#
# The cache is the user's usual one, with the size that ccache or its user sets.

find_program(KDMX_CCACHE ccache)
if(NOT KDMX_CCACHE OR CMAKE_CXX_COMPILER_LAUNCHER)
    return()
endif()

# Paths count from the source tree, so that clones in other folders share objects. Of a precompiled header ccache sees
# the file, but not which of our definitions it looked at, and must be told that this is enough.
set(CMAKE_CXX_COMPILER_LAUNCHER
    ${CMAKE_COMMAND} -E env
    CCACHE_BASEDIR=${CMAKE_SOURCE_DIR}
    CCACHE_NOHASHDIR=1
    CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime
    ${KDMX_CCACHE})
