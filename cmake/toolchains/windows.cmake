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
list(APPEND CMAKE_PREFIX_PATH ${KDMX_WINDOWS_QT})
list(APPEND CMAKE_FIND_ROOT_PATH ${KDMX_WINDOWS_QT})

# Packages that are headers only, or source: Debian's own CMake files would put this machine's headers on the path.
list(APPEND CMAKE_MODULE_PATH ${CMAKE_CURRENT_LIST_DIR}/../windows)
