# The libraries of the source tree and how programs take them in.

# kdmx_add_library(NAME SOURCES ... [LINKS ...])
#
# A static library for the folder it is called in. Its only include folder is that folder, and users get the
# folders of what it links: a source file that includes a header of a library it does not depend on does not
# compile. That keeps the dependencies pointing one way.
function(kdmx_add_library name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LINKS")
    add_library(${name} STATIC ${arg_SOURCES})
    target_include_directories(${name} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
    target_link_libraries(${name} PUBLIC ${arg_LINKS} PRIVATE kdmx_compile_options)
endfunction()

# kdmx_link_whole(TARGET LIBRARY ...)
#
# Links libraries of this project with everything they hold, called or not: the panel carries modules that its
# window does not call yet, and objects that only register themselves (resources, meta-objects) must stay.
function(kdmx_link_whole target)
    foreach(library IN LISTS ARGN)
        # The objects themselves come first, so the linker finds nothing left to take from the archive.
        target_sources(${target} PRIVATE $<TARGET_OBJECTS:${library}>)
        target_link_libraries(${target} PRIVATE ${library})
    endforeach()
    target_link_libraries(${target} PRIVATE kdmx_compile_options)
endfunction()

# kdmx_link_panel(TARGET)
#
# Links what the panel consists of, all but its main(): the panel itself and its tests.
function(kdmx_link_panel target)
    kdmx_link_whole(${target} kdmx_resources kdmx_ustest kdmx_device kdmx_shared kdmx_panel kdmx_update)
    target_link_libraries(${target} PRIVATE kdmx_ustest_system)
endfunction()
