# Compiler and linker flags of everything that is built here, carried by the target quorin_flags.

option(QUORIN_ASAN "Build with AddressSanitizer and UndefinedBehaviorSanitizer" OFF)
option(QUORIN_TSAN "Build with ThreadSanitizer; only tests marked THREADED are built" OFF)
option(QUORIN_FUZZ "Build the fuzz targets" OFF)
option(QUORIN_BENCH "Build the sample generator and the benchmarks" ON)
option(QUORIN_UNIT_TESTS "Build the unit tests" ON)

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)

# The compiler tells what it read, so that ccache need not preprocess each source first. The rest is for precompiled
# headers, which count by what QuorinPrecompiled.cmake writes beside them, so that two checkouts share what is cached.
find_program(QUORIN_CCACHE ccache)
if(QUORIN_CCACHE)
    set(CMAKE_CXX_COMPILER_LAUNCHER env CCACHE_DEPEND=1 CCACHE_SLOPPINESS=pch_defines,time_macros CCACHE_PCH_EXTSUM=1
                                    "${QUORIN_CCACHE}")
endif()

add_library(quorin_flags INTERFACE)
target_compile_options(
    quorin_flags
    INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wold-style-cast -Wnon-virtual-dtor -Werror
              -fstack-protector-strong)
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    target_compile_options(quorin_flags INTERFACE -Wthread-safety)
    target_link_options(quorin_flags INTERFACE -fuse-ld=lld)
endif()
target_compile_definitions(
    quorin_flags
    INTERFACE _GLIBCXX_ASSERTIONS QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_KEYWORDS
              QUORIN_VERSION="${PROJECT_VERSION}")
target_link_options(quorin_flags INTERFACE -Wl,-z,relro,-z,now)
target_link_libraries(quorin_flags INTERFACE Threads::Threads)

# The sanitizers need their own view of the C library; fortified calls would hide errors from them.
if(QUORIN_ASAN)
    target_compile_options(quorin_flags INTERFACE -fsanitize=address,undefined -fno-sanitize-recover=all
                                                  -fno-omit-frame-pointer)
    target_link_options(quorin_flags INTERFACE -fsanitize=address,undefined)
elseif(QUORIN_TSAN)
    target_compile_options(quorin_flags INTERFACE -fsanitize=thread -fno-omit-frame-pointer)
    target_link_options(quorin_flags INTERFACE -fsanitize=thread)
elseif(NOT CMAKE_BUILD_TYPE STREQUAL "Debug")
    target_compile_options(quorin_flags INTERFACE -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3)
    # What ships asks for the libraries that it uses, not for all that those were built with.
    target_link_options(quorin_flags INTERFACE -Wl,--as-needed)
endif()

# Coverage feedback for the fuzzers; the fuzzing main itself is linked by the fuzz targets alone.
if(QUORIN_FUZZ)
    target_compile_options(quorin_flags INTERFACE -fsanitize=fuzzer-no-link)
    target_link_options(quorin_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()
