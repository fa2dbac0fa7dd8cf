# What programs need on Windows only. Every function does nothing on other systems.

if(WIN32)
    # A program lies beside the libraries that it loads.
    set(CMAKE_INSTALL_BINDIR .)
    set(CMAKE_INSTALL_DOCDIR licences)
endif()

# kdmx_add_manifest(TARGET)
#
# Tells Windows how to treat a program: resources/application.manifest.
function(kdmx_add_manifest target)
    if(WIN32)
        target_sources(${target} PRIVATE ${PROJECT_SOURCE_DIR}/resources/application.rc)
        set_property(SOURCE ${PROJECT_SOURCE_DIR}/resources/application.rc TARGET_DIRECTORY ${target}
            APPEND PROPERTY OBJECT_DEPENDS ${PROJECT_SOURCE_DIR}/resources/application.manifest)
    endif()
endfunction()

# kdmx_install_libraries()
#
# Installs the libraries that the programs load, and Qt's plugins: the system's windows and looks, the icon's format, the
# system's TLS. Qt's own tool for this only runs on Windows.
function(kdmx_install_libraries)
    foreach(library Core Gui Network Widgets)
        install(FILES $<TARGET_FILE:Qt6::${library}> DESTINATION ${CMAKE_INSTALL_BINDIR})
    endforeach()
    foreach(library libgcc_s_seh-1.dll libstdc++-6.dll libwinpthread-1.dll)
        execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${library}
            OUTPUT_VARIABLE file OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
        # Where it is a link, what it leads to.
        file(REAL_PATH ${file} file)
        install(FILES ${file} DESTINATION ${CMAKE_INSTALL_BINDIR} RENAME ${library})
        # They come with what a debugger reads, which is ten times as large.
        install(CODE "execute_process(COMMAND ${CMAKE_STRIP} --strip-unneeded ${library}
            WORKING_DIRECTORY \$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX} COMMAND_ERROR_IS_FATAL ANY)")
    endforeach()
    foreach(plugin platforms/qwindows styles/qwindowsvistastyle imageformats/qico tls/qschannelbackend)
        cmake_path(GET plugin PARENT_PATH folder)
        install(FILES ${KDMX_WINDOWS_QT}/plugins/${plugin}.dll DESTINATION ${folder})
    endforeach()
endfunction()
