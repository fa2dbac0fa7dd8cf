# Debian's GoogleTest for Windows, from the source that its package installs.
if(NOT TARGET GTest::gtest_main)
    set(INSTALL_GTEST OFF)
    add_subdirectory(/usr/src/googletest/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
endif()
set(GTest_FOUND TRUE)
