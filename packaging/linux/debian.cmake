# The Debian package, built by CPack. Where the folders of a package are given away, `stage` adds what only Debian wants.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ${KDMX_PACKAGE})
set(CPACK_PACKAGE_VENDOR "ORMEL Corporation")
set(CPACK_PACKAGE_VERSION ${KDMX_VERSION}.${KDMX_BUILD})
set(CPACK_PACKAGE_CONTACT "KD-MX Series maintainers <kd-mx-series@velmar.example>")
set(CPACK_PACKAGE_HOMEPAGE_URL https://www.velmar.example/international/)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "settings panel of the VELMAR KD-MX recorders")
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
# All but the licences.
set(CPACK_INSTALL_CMAKE_PROJECTS ${CMAKE_BINARY_DIR} ${PROJECT_NAME} Unspecified /)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_SOURCE_DIR}/stage.cmake)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"The KD-MX2 and KD-MX4 are linear PCM recorders that also serve as USB audio
interfaces. This is their settings panel, for the buffer size and the sample
format of the audio driver, with two programs for engineers:
.
 - kdmxctl asks and sets a unit over USB, from the command line or live on a
   terminal; without a unit, it plays one;
 - update-preview shows what the update service makes of a document before
   it is published.
.
The driver itself only exists for Windows. A udev rule lets the people at
the computer use the unit.")

# Not CPack's own target of this name: that builds everything, tests too, and knows no date.
set(CPACK_OUTPUT_CONFIG_FILE ${CMAKE_CURRENT_BINARY_DIR}/CPackConfig.cmake)
set(CPACK_SOURCE_OUTPUT_CONFIG_FILE ${CMAKE_CURRENT_BINARY_DIR}/CPackSourceConfig.cmake)
include(CPack)
add_custom_target(package
    COMMAND ${PROJECT_SOURCE_DIR}/packaging/with-source-date
        ${CMAKE_CPACK_COMMAND} --config ${CPACK_OUTPUT_CONFIG_FILE}
    COMMENT "Making the Debian package"
    USES_TERMINAL
    VERBATIM)
add_dependencies(package KD-MX_Series kdmxctl update-preview)
