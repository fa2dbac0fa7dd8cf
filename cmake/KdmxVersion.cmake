# Reads the version and the build number from the identity header, so that no second place can differ.
#
# Sets KDMX_VERSION ("1.10") and KDMX_BUILD ("0006").

set(_identity ${CMAKE_CURRENT_LIST_DIR}/../panel/shared/identity.h)
file(STRINGS ${_identity} _line REGEX "longVersion = ")
if(NOT _line MATCHES "\"([0-9]+\\.[0-9]+) ([0-9]+)\"")
    message(FATAL_ERROR "No long version of the form \"1.10 0006\" in ${_identity}")
endif()
set(KDMX_VERSION ${CMAKE_MATCH_1})
set(KDMX_BUILD ${CMAKE_MATCH_2})
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${_identity})
