# Headers of others that most sources include, parsed once a build instead of once a source.
#
#   quorin_precompile(<target> <kind>)    plain, core, widgets, core_test or widget_test
#
# Each kind belongs to one set of flags, and is compiled by a library that is nothing but its holder. Sources still
# include what they use: g++ builds them without all this. No header of ours is here, so that a change of one rebuilds
# only what includes it.
set(standard_headers
    <algorithm> <array> <atomic> <cerrno> <charconv> <chrono> <cmath> <condition_variable> <coroutine> <csignal> <cstddef>
    <cstdint> <cstdio> <cstdlib> <cstring> <deque> <filesystem> <fstream> <functional> <iterator> <limits> <map> <memory>
    <mutex> <numeric> <optional> <ranges> <set> <span> <sstream> <stdexcept> <stop_token> <string> <string_view>
    <system_error> <thread> <tuple> <unordered_map> <utility> <variant> <vector>)
set(core_headers
    ${standard_headers}
    <QtCore/QByteArray> <QtCore/QCoreApplication> <QtCore/QDateTime> <QtCore/QDir> <QtCore/QDirIterator> <QtCore/QEvent>
    <QtCore/QFile> <QtCore/QFileInfo> <QtCore/QHash> <QtCore/QJsonArray> <QtCore/QJsonDocument> <QtCore/QJsonObject>
    <QtCore/QList> <QtCore/QLocale> <QtCore/QMap> <QtCore/QObject> <QtCore/QPointer> <QtCore/QRegularExpression>
    <QtCore/QSet> <QtCore/QString> <QtCore/QStringList> <QtCore/QTimer> <QtCore/QTimeZone> <QtCore/QUrl> <QtCore/QUuid>
    <QtCore/QVariantMap>)
set(widget_headers
    ${core_headers}
    <QtDBus/QDBusConnection> <QtGui/QPainter> <QtGui/QPainterPath> <QtWidgets/QApplication> <QtWidgets/QBoxLayout>
    <QtWidgets/QLabel> <QtWidgets/QLineEdit> <QtWidgets/QMenu> <QtWidgets/QPushButton> <QtWidgets/QWidget>)
set(test_headers <gmock/gmock.h> <gtest/gtest.h> <QtCore/QProcess> <QtCore/QTemporaryDir>)

option(QUORIN_PRECOMPILED "Use precompiled headers" ON)

# A precompiled header knows the folder that it was built in, so it is never cached itself; what is compiled with it is,
# by its headers' names here and by their text, which the compiler tells.
function(quorin_precompiled_holder kind)
    cmake_parse_arguments(ARG "" "" "HEADERS;LINKS;OPTIONS" ${ARGN})
    set(holder quorin_precompiled_${kind})
    file(CONFIGURE OUTPUT "${CMAKE_BINARY_DIR}/${holder}.cpp" CONTENT "" @ONLY)
    file(CONFIGURE OUTPUT "${CMAKE_BINARY_DIR}/CMakeFiles/${holder}.dir/cmake_pch.hxx.pch.sum" CONTENT "${ARG_HEADERS}" @ONLY)
    add_library(${holder} OBJECT EXCLUDE_FROM_ALL "${CMAKE_BINARY_DIR}/${holder}.cpp")
    set_target_properties(${holder} PROPERTIES CXX_COMPILER_LAUNCHER "")
    target_link_libraries(${holder} PRIVATE quorin_flags ${ARG_LINKS})
    target_compile_options(${holder} PRIVATE ${ARG_OPTIONS} "SHELL:-Xclang -fno-pch-timestamp")
    target_precompile_headers(${holder} PRIVATE ${ARG_HEADERS})
endfunction()

if(QUORIN_PRECOMPILED AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    # Without the header's own path, which CMake names besides and ccache would count.
    set(CMAKE_CXX_COMPILE_OPTIONS_USE_PCH -Xclang -include-pch -Xclang <PCH_FILE>)
    quorin_precompiled_holder(plain HEADERS ${standard_headers})
    quorin_precompiled_holder(core HEADERS ${core_headers} <QCoro/QCoroTask> LINKS Qt6::Core QCoro6::Core)
    quorin_precompiled_holder(widgets HEADERS ${widget_headers} <QCoro/QCoroTask> LINKS Qt6::Widgets Qt6::DBus QCoro6::Core)
    quorin_precompiled_holder(
        core_test HEADERS ${core_headers} ${test_headers} LINKS Qt6::Core GTest::gmock OPTIONS ${QUORIN_TEST_OPTIONS})
    quorin_precompiled_holder(
        widget_test
        HEADERS ${widget_headers} ${test_headers} <QtTest/QSignalSpy> <QtTest/QTest>
        LINKS Qt6::Widgets Qt6::DBus GTest::gmock
        OPTIONS ${QUORIN_TEST_OPTIONS})
endif()

# Gives a library the richest headers that what it links allows.
function(quorin_precompile_library target)
    set(kind plain)
    foreach(link IN LISTS ARGN)
        set(linked)
        if(link MATCHES "^Qt6::(Gui|Widgets)$")
            set(linked widgets)
        elseif(link MATCHES "^(Qt6|QCoro6)::")
            set(linked core)
        elseif(TARGET ${link})
            get_target_property(linked ${link} QUORIN_PRECOMPILED)
        endif()
        if(linked STREQUAL "widgets" OR (linked STREQUAL "core" AND kind STREQUAL "plain"))
            set(kind ${linked})
        endif()
    endforeach()
    set_target_properties(${target} PROPERTIES QUORIN_PRECOMPILED ${kind})
    quorin_precompile(${target} ${kind})
endfunction()

function(quorin_precompile target kind)
    if(TARGET quorin_precompiled_${kind})
        target_precompile_headers(${target} REUSE_FROM quorin_precompiled_${kind})
    endif()
endfunction()
