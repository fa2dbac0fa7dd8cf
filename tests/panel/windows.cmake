# Tests of what the panel does on Windows only.

kdmx_add_test(panel.instancechannel_windows SOURCES instancechannel_windows_test.cpp)
kdmx_add_test(panel.instancelock_windows SOURCES instancelock_windows_test.cpp)

# The program as users have it, below a folder with blanks and with letters that the system's code page lacks.
set(installed "${CMAKE_CURRENT_BINARY_DIR}/録音 プログラム/KD-MX Series")
add_test(NAME panel.startup_windows.install
    COMMAND ${CMAKE_COMMAND} --install ${PROJECT_BINARY_DIR} --prefix ${installed})
set_tests_properties(panel.startup_windows.install PROPERTIES
    FIXTURES_SETUP panel_installed RESOURCE_LOCK build)

# Once more for a user whose name has such letters: the user is the one that Windows was made for.
kdmx_add_test(panel.startup_windows SOURCES startup_windows_test.cpp DISPLAY TIMEOUT 900
    ENVIRONMENT USER=user LOGNAME=user "KDMX_INSTALLED=${installed}/KD-MX_Series.exe")
kdmx_add_test_run(panel.startup_windows.japanese PROGRAM panel_startup_windows_test DISPLAY TIMEOUT 900
    ENVIRONMENT
        USER=録音太郎 LOGNAME=録音太郎 KDMX_WINE_PREFIX=${CMAKE_BINARY_DIR}/wine-prefix-japanese
        "KDMX_INSTALLED=${installed}/KD-MX_Series.exe"
    ARGUMENTS
        userHasTheNameThatWasAskedFor eachChangeIsThereAtOnce reminderThatIsTurnedOffIsWrittenTwice
        worksWhereTheUserPutsIt)
add_dependencies(panel_startup_windows_test KD-MX_Series)
set_tests_properties(panel.startup_windows panel.startup_windows.japanese PROPERTIES
    RUN_SERIAL TRUE FIXTURES_REQUIRED panel_installed)

# Wine takes the language of Windows from the environment, and only one that this machine knows.
set(locales ja_JP zh_CN zh_TW de_DE)
set(make_locales "mkdir -p ${CMAKE_CURRENT_BINARY_DIR}/locales")
foreach(locale IN LISTS locales)
    string(APPEND make_locales
        " && localedef -i ${locale} -f UTF-8 ${CMAKE_CURRENT_BINARY_DIR}/locales/${locale}.UTF-8")
endforeach()
add_test(NAME panel.locales COMMAND sh -c ${make_locales})
set_tests_properties(panel.locales PROPERTIES FIXTURES_SETUP locales)
get_property(tests DIRECTORY PROPERTY TESTS)
foreach(test IN LISTS tests)
    if(test MATCHES "[.](ja|zh|de)(_|$)")
        set_property(TEST ${test} APPEND PROPERTY ENVIRONMENT LOCPATH=${CMAKE_CURRENT_BINARY_DIR}/locales)
        set_property(TEST ${test} APPEND PROPERTY FIXTURES_REQUIRED locales)
    endif()
endforeach()
