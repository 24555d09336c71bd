# SPDX-License-Identifier: GPL-2.0-only
# Language, warnings and sanitizers of everything that runs in a process.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)

if(NOT CMAKE_BUILD_TYPE)
    # Debug information doubles the time that the tool takes to compile: RelWithDebInfo has it.
    set(CMAKE_BUILD_TYPE Release CACHE STRING "Kind of build" FORCE)
endif()
# Assertions stay: the host build exists to find faults.
set(CMAKE_C_FLAGS_RELEASE "-O2")
set(CMAKE_CXX_FLAGS_RELEASE "-O2")
set(CMAKE_C_FLAGS_RELWITHDEBINFO "-O2 -g")
set(CMAKE_CXX_FLAGS_RELWITHDEBINFO "-O2 -g")

set(GPON_WARNINGS -Wall -Wextra -Wpedantic -Wshadow -Wconversion)
if(CMAKE_CXX_COMPILER_ID MATCHES Clang)
    # gcc's -Wconversion leaves signs alone in C++; clang is here for the lock contracts.
    list(APPEND GPON_WARNINGS -Wno-sign-conversion -Wthread-safety -Werror=thread-safety)
endif()
if(GPON_WERROR)
    list(APPEND GPON_WARNINGS -Werror)
endif()
add_compile_options(${GPON_WARNINGS})

if(GPON_SANITIZE STREQUAL "address")
    set(sanitizers -fsanitize=address,undefined -fno-sanitize-recover=all)
    # The records of global variables and of counted branches are full of addresses, several hundred
    # thousand in the tool. Each start of a program at a variable address would have to correct them all.
    add_compile_options(-fno-pie)
    add_link_options(-no-pie)
elseif(GPON_SANITIZE STREQUAL "thread")
    set(sanitizers -fsanitize=thread)
elseif(GPON_SANITIZE)
    message(FATAL_ERROR "GPON_SANITIZE is address, thread or empty, not '${GPON_SANITIZE}'")
endif()
if(GPON_SANITIZE)
    # A report names functions and lines; more would only make the build slower.
    add_compile_options(${sanitizers} -O1 -g1 -fno-omit-frame-pointer)
    add_link_options(${sanitizers})
    # Instrumented code hides from gcc what is initialised; the release build still warns.
    add_compile_options($<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
endif()

if(GPON_FUZZ)
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()

if(GPON_COVERAGE)
    add_compile_options(--coverage -O0 -fprofile-update=atomic)
    add_link_options(--coverage)
endif()
