# SPDX-License-Identifier: GPL-2.0-only
# gpon_core: the module core for a process, under the language restrictions of a kernel.

# Each folder of src/ but platform/ is a part of the core.
file(GLOB GPON_CORE_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/*/*.cpp)

set(GPON_CORE_LANGUAGE
    -ffreestanding -fno-exceptions -fno-rtti -fno-threadsafe-statics -fno-use-cxa-atexit
    -funsigned-char)

add_library(gpon_core OBJECT ${GPON_CORE_SOURCES})
target_include_directories(gpon_core PUBLIC ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR})
target_compile_definitions(gpon_core PUBLIC GPON_HOST_BUILD)
target_compile_options(gpon_core PRIVATE ${GPON_CORE_LANGUAGE})

if(GPON_CHECK_OBJECTS)
    include(GponObjects)
endif()
