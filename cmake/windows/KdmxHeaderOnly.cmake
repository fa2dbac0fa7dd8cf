# kdmx_header_only(TARGET FOLDER)
#
# An interface target for headers in /usr/include/FOLDER. Only that folder is linked into the build tree: /usr/include
# itself would put this machine's system headers before those for Windows.
function(kdmx_header_only target folder)
    if(TARGET ${target})
        return()
    endif()
    if(NOT EXISTS /usr/include/${folder})
        message(FATAL_ERROR "/usr/include/${folder} is missing")
    endif()
    file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/headers)
    file(CREATE_LINK /usr/include/${folder} ${CMAKE_BINARY_DIR}/headers/${folder} SYMBOLIC)
    add_library(${target} INTERFACE IMPORTED GLOBAL)
    target_include_directories(${target} INTERFACE ${CMAKE_BINARY_DIR}/headers)
endfunction()
