# What the licences of the libraries ask for: their texts go with the programs. They come from the Debian packages that
# the libraries come from, so they fit.

install(FILES ${PROJECT_SOURCE_DIR}/LICENSE ${PROJECT_SOURCE_DIR}/resources/LICENSE.txt third-party.txt
    DESTINATION ${CMAKE_INSTALL_DOCDIR})

foreach(licence Apache-2.0 GFDL-1.3 GPL-2 GPL-3 LGPL-2.1 LGPL-3)
    install(FILES /usr/share/common-licenses/${licence} DESTINATION ${CMAKE_INSTALL_DOCDIR} RENAME ${licence}.txt)
endforeach()

# kdmx_install_copyright(NAME PACKAGE)
function(kdmx_install_copyright name package)
    file(REAL_PATH /usr/share/doc/${package}/copyright file)
    install(FILES ${file} DESTINATION ${CMAKE_INSTALL_DOCDIR} RENAME ${name}.txt)
endfunction()

kdmx_install_copyright(Qt libqt6core6)
kdmx_install_copyright(GCC gcc-mingw-w64-x86-64-posix-runtime)
kdmx_install_copyright(MinGW-w64 mingw-w64-x86-64-dev)
kdmx_install_copyright(zlib libz-mingw-w64-dev)
kdmx_install_copyright(CLI11 libcli11-dev)
kdmx_install_copyright(nlohmann-json nlohmann-json3-dev)
kdmx_install_copyright(Valijson libvalijson-dev)
kdmx_install_copyright(NSIS nsis-common)
