# One static library a folder, its tests beside it.
#
#   quorin_library(<name>
#       SOURCES a.cpp b.cpp            sources by name
#       LINKS quorin::x Qt6::Core      what its headers need
#       PRIVATE_LINKS ...              what only its sources need
#       TESTS a_test.cpp b_test.cpp    one executable <name>_test, each case a ctest
#       TEST_LINKS ...
#       MOC                            the sources hold QObject classes
#       THREADED                       the tests also run under ThreadSanitizer
#       WIDGETS                        the tests run under a QApplication, without a display
#       COROUTINES)                    the sources hold coroutines: only clang builds them
include(GoogleTest)

# Assertions unfold into much code, which the sanitizers multiply: optimised, it takes 2.5 times as long to build.
set(QUORIN_TEST_OPTIONS -O0)
include(QuorinPrecompiled)

# Everything that a second compiler must understand: g++ 12 frees twice in some coroutines, so libraries that
# hold any are left out.
add_custom_target(quorin_plain_libraries)
# Everything that runs under ThreadSanitizer.
add_custom_target(quorin_threaded_tests)

function(quorin_library name)
    cmake_parse_arguments(
        ARG "MOC;THREADED;WIDGETS;COROUTINES" "" "SOURCES;LINKS;PRIVATE_LINKS;TESTS;TEST_LINKS" ${ARGN})
    if(ARG_COROUTINES AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # Others still see its headers.
        add_library(quorin_${name} INTERFACE)
        add_library(quorin::${name} ALIAS quorin_${name})
        target_include_directories(quorin_${name} INTERFACE "${CMAKE_SOURCE_DIR}/src")
        target_link_libraries(quorin_${name} INTERFACE quorin_flags ${ARG_LINKS})
        return()
    endif()
    add_library(quorin_${name} STATIC ${ARG_SOURCES})
    add_library(quorin::${name} ALIAS quorin_${name})
    target_include_directories(quorin_${name} PUBLIC "${CMAKE_SOURCE_DIR}/src")
    target_link_libraries(quorin_${name} PUBLIC quorin_flags ${ARG_LINKS} PRIVATE ${ARG_PRIVATE_LINKS})
    quorin_precompile_library(quorin_${name} ${ARG_LINKS} ${ARG_PRIVATE_LINKS})
    if(NOT ARG_COROUTINES)
        add_dependencies(quorin_plain_libraries quorin_${name})
    endif()
    if(ARG_MOC)
        set_target_properties(quorin_${name} PROPERTIES AUTOMOC ON)
    endif()
    if(ARG_TESTS)
        set(options)
        foreach(option IN ITEMS THREADED WIDGETS)
            if(ARG_${option})
                list(APPEND options ${option})
            endif()
        endforeach()
        quorin_test(${name}_test ${options} SOURCES ${ARG_TESTS} LINKS quorin::${name} ${ARG_TEST_LINKS})
    endif()
endfunction()

# A test executable of GoogleTest cases that run under a QCoreApplication, or with WIDGETS under a QApplication whose
# windows need no display.
function(quorin_test name)
    cmake_parse_arguments(ARG "THREADED;MOC;WIDGETS" "" "SOURCES;LINKS" ${ARGN})
    if(NOT QUORIN_UNIT_TESTS OR (QUORIN_TSAN AND NOT ARG_THREADED))
        return()
    endif()
    add_executable(${name} ${ARG_SOURCES})
    if(ARG_THREADED)
        add_dependencies(quorin_threaded_tests ${name})
    endif()
    target_include_directories(${name} PRIVATE "${CMAKE_SOURCE_DIR}")
    set(main quorin_test_main)
    set(headers core_test)
    if(ARG_WIDGETS)
        set(main quorin_widget_test_main)
        set(headers widget_test)
    endif()
    target_link_libraries(${name} PRIVATE ${ARG_LINKS} ${main} GTest::gmock)
    target_compile_options(${name} PRIVATE ${QUORIN_TEST_OPTIONS})
    quorin_precompile(${name} ${headers})
    if(ARG_MOC)
        set_target_properties(${name} PROPERTIES AUTOMOC ON)
    endif()
    set(environment)
    if(QUORIN_TSAN)
        set(environment "TSAN_OPTIONS=halt_on_error=1:suppressions=${CMAKE_SOURCE_DIR}/tools/tsan.supp")
    elseif(QUORIN_ASAN)
        set(environment "LSAN_OPTIONS=suppressions=${CMAKE_SOURCE_DIR}/tools/lsan.supp")
    endif()
    gtest_discover_tests(
        ${name} DISCOVERY_MODE PRE_TEST
        PROPERTIES LABELS "unit" TIMEOUT 120 ENVIRONMENT "${environment}")
    if(ARG_WIDGETS) # the looks of a window once more, where two pixels are one
        gtest_discover_tests(
            ${name} DISCOVERY_MODE PRE_TEST
            TEST_FILTER "*InEveryLook*"
            TEST_PREFIX "scale-2."
            TEST_LIST ${name}_scale_2
            PROPERTIES LABELS "unit" TIMEOUT 120 ENVIRONMENT "${environment};QT_SCALE_FACTOR=2")
    endif()
endfunction()
