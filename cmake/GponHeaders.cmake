# SPDX-License-Identifier: GPL-2.0-only
# Headers that take long to read and that most sources include, compiled once for several targets.
# A source still includes all that it uses: the configuration for clang compiles none in advance.

set(GPON_STANDARD_HEADERS
    <algorithm> <array> <cstdint> <cstdio> <cstring> <fstream> <functional> <iostream> <map>
    <memory> <optional> <ostream> <span> <sstream> <stdexcept> <string> <string_view> <utility>
    <variant> <vector>)

# Without this option a compiler cache compares only the name of the precompiled headers, not their
# contents.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-fpch-preprocess>)
endif()
