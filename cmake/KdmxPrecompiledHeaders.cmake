# Precompiled headers, for the presets that are built often and look for faults: reading Qt's headers is most of what
# their compiler does. Not for what users get: there every file is seen to include what it uses.
#
# There is one precompiled header for each kind of target, made by a target of its own. Code without Qt and without
# GoogleTest has none: it is quick to read, and must stay free of names that it does not ask for.

option(KDMX_PRECOMPILED_HEADERS "Read the headers of Qt and GoogleTest once for all targets" OFF)

# Only headers of templates and declarations: whatever code a precompiled header holds, every file would compile again.
set(_standard <algorithm> <array> <atomic> <chrono> <functional> <map> <memory> <optional> <string> <thread> <vector>)
set(_core
    <QByteArray> <QCoreApplication> <QDir> <QElapsedTimer> <QFile> <QFileInfo> <QJsonArray> <QJsonDocument>
    <QJsonObject> <QList> <QObject> <QProcess> <QRegularExpression> <QSettings> <QString> <QStringList> <QTemporaryDir>
    <QThread> <QTimer> <QUrl>)
set(_widgets <QApplication> <QCheckBox> <QDialog> <QLabel> <QLocale> <QMessageBox> <QPushButton> <QWidget>)
set(_tests <QSignalSpy> <QTest>)

# _kdmx_add_precompiled_header(NAME LIBRARIES LIBRARY ... HEADERS HEADER ...)
function(_kdmx_add_precompiled_header name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "LIBRARIES;HEADERS")
    set(source ${PROJECT_BINARY_DIR}/precompiled_${name}.cpp)
    file(CONFIGURE OUTPUT ${source} CONTENT "// Nothing but what is precompiled.\n")
    add_library(kdmx_precompiled_${name} OBJECT ${source})
    kdmx_without_qt(kdmx_precompiled_${name})
    target_link_libraries(kdmx_precompiled_${name} PRIVATE ${arg_LIBRARIES} kdmx_compile_options)
    target_precompile_headers(kdmx_precompiled_${name} PRIVATE ${arg_HEADERS})
endfunction()

# _kdmx_libraries_of(TARGET RESULT)
#
# All that a target links, directly or through others.
function(_kdmx_libraries_of target result)
    set(found "")
    set(open ${target})
    while(open)
        list(POP_FRONT open next)
        if(next IN_LIST found OR NOT TARGET ${next})
            continue()
        endif()
        list(APPEND found ${next})
        get_target_property(type ${next} TYPE)
        set(properties INTERFACE_LINK_LIBRARIES)
        if(NOT type STREQUAL INTERFACE_LIBRARY)
            list(APPEND properties LINK_LIBRARIES)
        endif()
        foreach(property IN LISTS properties)
            get_property(linked TARGET ${next} PROPERTY ${property})
            list(APPEND open ${linked})
        endforeach()
    endwhile()
    set(${result} ${found} PARENT_SCOPE)
endfunction()

# _kdmx_spare_meta_objects(TARGET)
#
# A program's own meta-objects nearly always stand in the file that uses them; what is left to compile of them is an
# empty file, which is quicker to read without a precompiled header.
function(_kdmx_spare_meta_objects target)
    get_target_property(type ${target} TYPE)
    get_target_property(folder ${target} BINARY_DIR)
    if(type STREQUAL EXECUTABLE)
        set_source_files_properties(${folder}/${target}_autogen/mocs_compilation.cpp TARGET_DIRECTORY ${target}
            PROPERTIES SKIP_PRECOMPILE_HEADERS ON)
    endif()
endfunction()

# _kdmx_precompile_folder(FOLDER)
#
# Gives each target in a folder, and below it, the precompiled header of its kind.
function(_kdmx_precompile_folder folder)
    get_property(targets DIRECTORY ${folder} PROPERTY BUILDSYSTEM_TARGETS)
    foreach(target IN LISTS targets)
        get_target_property(type ${target} TYPE)
        if(target MATCHES "^kdmx_precompiled_" OR NOT type MATCHES "^(EXECUTABLE|STATIC_LIBRARY|OBJECT_LIBRARY)$")
            continue()
        endif()
        _kdmx_libraries_of(${target} libraries)
        _kdmx_spare_meta_objects(${target})
        if(NOT kdmx_compile_options IN_LIST libraries)
            continue()
        elseif(Qt6::Widgets IN_LIST libraries AND Qt6::Network IN_LIST libraries AND Qt6::Test IN_LIST libraries)
            # Qt's test headers go by which other libraries there are.
            target_precompile_headers(${target} REUSE_FROM kdmx_precompiled_tests)
        elseif(Qt6::Widgets IN_LIST libraries)
            target_precompile_headers(${target} REUSE_FROM kdmx_precompiled_widgets)
        elseif(Qt6::Core IN_LIST libraries)
            target_precompile_headers(${target} REUSE_FROM kdmx_precompiled_core)
        elseif(GTest::gtest IN_LIST libraries)
            target_precompile_headers(${target} REUSE_FROM kdmx_precompiled_googletest)
        endif()
    endforeach()
    get_property(subfolders DIRECTORY ${folder} PROPERTY SUBDIRECTORIES)
    foreach(subfolder IN LISTS subfolders)
        _kdmx_precompile_folder(${subfolder})
    endforeach()
endfunction()

function(_kdmx_precompile)
    _kdmx_add_precompiled_header(core LIBRARIES Qt6::Core HEADERS ${_standard} ${_core})
    _kdmx_add_precompiled_header(widgets LIBRARIES Qt6::Widgets HEADERS ${_standard} ${_core} ${_widgets})
    if(BUILD_TESTING)
        find_package(GTest REQUIRED)
        _kdmx_add_precompiled_header(googletest LIBRARIES GTest::gtest HEADERS ${_standard} <gtest/gtest.h>)
        _kdmx_add_precompiled_header(tests
            LIBRARIES Qt6::Widgets Qt6::Network Qt6::Test HEADERS ${_standard} ${_core} ${_widgets} ${_tests})
    endif()
    _kdmx_precompile_folder(${PROJECT_SOURCE_DIR})
endfunction()

# At the end, when all targets are known.
if(KDMX_PRECOMPILED_HEADERS)
    cmake_language(DEFER DIRECTORY ${PROJECT_SOURCE_DIR} CALL _kdmx_precompile)
endif()
