# The panel for Windows: MinGW-w64, and the Qt that tools/windows/qt has built.
include(${CMAKE_CURRENT_LIST_DIR}/mingw-w64.cmake)

execute_process(
    COMMAND ${CMAKE_CURRENT_LIST_DIR}/../../tools/windows/qt --cached
    OUTPUT_VARIABLE KDMX_WINDOWS_QT OUTPUT_STRIP_TRAILING_WHITESPACE
    RESULT_VARIABLE qt_is_missing)
if(qt_is_missing)
    message(FATAL_ERROR "Qt for Windows is not there. tools/windows/qt builds it.")
endif()
set(QT_HOST_PATH /usr)
set(QT_HOST_PATH_CMAKE_DIR /usr/lib/${CMAKE_HOST_SYSTEM_PROCESSOR}-linux-gnu/cmake)
# A build folder remembers where its Qt was. With another one the two would be mixed: what is compiled and linked would
# be of one, and what is loaded of the other.
get_cmake_property(remembered CACHE_VARIABLES)
list(FILTER remembered INCLUDE REGEX "^Qt6.*_DIR$")
foreach(name IN LISTS remembered)
    unset(${name} CACHE)
endforeach()
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/../../tools/windows/qt)
list(APPEND CMAKE_PREFIX_PATH ${KDMX_WINDOWS_QT})
list(APPEND CMAKE_FIND_ROOT_PATH ${KDMX_WINDOWS_QT})

# The one library of MinGW that the programs use besides its runtime.
set(ZLIB_USE_STATIC_LIBS ON)

# Where programs of the build tree find what they load, for tools/windows/wine, which runs them.
execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=libstdc++-6.dll
    OUTPUT_VARIABLE runtime OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
cmake_path(GET runtime PARENT_PATH runtime)
set(KDMX_WINDOWS_LIBRARY_FOLDERS ${KDMX_WINDOWS_QT}/bin:${runtime}:/usr/x86_64-w64-mingw32/lib)
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../../tools/windows/wine)
cmake_path(NORMAL_PATH CMAKE_CROSSCOMPILING_EMULATOR)

# Packages that are headers only, or source: Debian's own CMake files would put this machine's headers on the path.
list(APPEND CMAKE_MODULE_PATH ${CMAKE_CURRENT_LIST_DIR}/../windows)
