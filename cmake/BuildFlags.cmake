# Flags of every target: warnings, hardening, sanitizers.
option(NUBO_WERROR "Treat warnings as errors" OFF)
option(NUBO_SANITIZE "Build with AddressSanitizer and UndefinedBehaviorSanitizer" OFF)

add_library(nubo_flags INTERFACE)
target_compile_features(nubo_flags INTERFACE cxx_std_20)
# Files above 2 GB on 32-bit machines.
target_compile_definitions(nubo_flags INTERFACE _FILE_OFFSET_BITS=64)
target_compile_options(nubo_flags INTERFACE -Wall -Wextra -Wconversion -Wshadow -fstack-protector-strong
    -fstack-clash-protection)
target_link_options(nubo_flags INTERFACE -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack -Wl,--as-needed)
if(NUBO_WERROR)
    target_compile_options(nubo_flags INTERFACE -Werror)
endif()
if(NUBO_SANITIZE)
    target_compile_options(nubo_flags INTERFACE -fsanitize=address,undefined -fno-sanitize-recover=all
        -fno-omit-frame-pointer -g1)  # lines are what reports need
    target_link_options(nubo_flags INTERFACE -fsanitize=address,undefined)
elseif(NOT CMAKE_BUILD_TYPE STREQUAL "Debug")
    target_compile_options(nubo_flags INTERFACE -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
endif()

# Clang only: everything is built so that libFuzzer sees which paths an input takes.
option(NUBO_FUZZ "Build the fuzz targets with libFuzzer" OFF)
if(NUBO_FUZZ)
    target_compile_options(nubo_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
endif()
