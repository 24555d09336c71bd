# SPDX-License-Identifier: GPL-2.0-only
# Compiles the core a second time as for a kernel (aarch64, no host platform) and links it into one
# relocatable object. The checks of the objects: mutable data only in the section for it, no static
# constructor, no undefined symbol except those of the platform interface.

find_program(GPON_MODULE_CXX aarch64-linux-gnu-g++ REQUIRED)
find_program(GPON_MODULE_NM aarch64-linux-gnu-nm REQUIRED)
find_program(GPON_MODULE_OBJDUMP aarch64-linux-gnu-objdump REQUIRED)

set(GPON_MODULE_FLAGS
    -std=c++20 -O2 ${GPON_CORE_LANGUAGE} -fno-weak -fno-sized-deallocation -fno-operator-names
    -fno-pie -mgeneral-regs-only -mno-outline-atomics -fno-asynchronous-unwind-tables
    -Wall -Wextra -Wframe-larger-than=1024 -Werror -I${PROJECT_SOURCE_DIR}/src)

set(module_dir ${PROJECT_BINARY_DIR}/freestanding)
set(module_objects)
foreach(source ${GPON_CORE_SOURCES})
    cmake_path(RELATIVE_PATH source BASE_DIRECTORY ${PROJECT_SOURCE_DIR} OUTPUT_VARIABLE name)
    set(object ${module_dir}/${name}.o)
    cmake_path(GET object PARENT_PATH object_dir)
    file(MAKE_DIRECTORY ${object_dir})
    add_custom_command(
        OUTPUT ${object}
        COMMAND ${GPON_MODULE_CXX} ${GPON_MODULE_FLAGS} -MD -MF ${object}.d -MT ${object}
                -c ${source} -o ${object}
        DEPENDS ${source}
        DEPFILE ${object}.d
        COMMENT "Freestanding ${name}"
        VERBATIM)
    list(APPEND module_objects ${object})
endforeach()

set(module_object ${module_dir}/gpon_flow.o)
add_custom_command(
    OUTPUT ${module_object}
    COMMAND ${GPON_MODULE_CXX} -nostdlib -r ${module_objects} -o ${module_object}
    DEPENDS ${module_objects}
    COMMENT "Linking the freestanding core"
    VERBATIM)

set(check_objects ${PROJECT_SOURCE_DIR}/scripts/check-objects.sh)
set(check_host_command
    ${CMAKE_COMMAND} -E env NM=${CMAKE_NM} OBJDUMP=${CMAKE_OBJDUMP}
    bash ${check_objects} host $<TARGET_OBJECTS:gpon_core>)
set(check_module_command
    ${CMAKE_COMMAND} -E env NM=${GPON_MODULE_NM} OBJDUMP=${GPON_MODULE_OBJDUMP}
    HOST_OBJDUMP=${CMAKE_OBJDUMP}
    bash ${check_objects} module ${module_object} $<TARGET_OBJECTS:gpon_core>)
# The layers and the headers' declarations, which the objects of both builds must respect: inline
# functions and calls that the compiler removes differ between them.
set(check_symbols ${PROJECT_SOURCE_DIR}/scripts/check-symbols.py)
set(check_headers ${PROJECT_SOURCE_DIR}/scripts/check-headers.py)
# What the two scripts read besides the objects.
file(GLOB_RECURSE checked_sources CONFIGURE_DEPENDS
     ${PROJECT_SOURCE_DIR}/src/*.h ${PROJECT_SOURCE_DIR}/src/*.cpp
     ${PROJECT_SOURCE_DIR}/tool/*.h ${PROJECT_SOURCE_DIR}/tool/*.cpp)
find_package(Python3 REQUIRED COMPONENTS Interpreter)
set(check_host_symbols_command
    ${CMAKE_COMMAND} -E env NM=${CMAKE_NM}
    ${Python3_EXECUTABLE} ${check_symbols} ${PROJECT_SOURCE_DIR} $<TARGET_OBJECTS:gpon_core>)
set(check_module_symbols_command
    ${CMAKE_COMMAND} -E env NM=${GPON_MODULE_NM}
    ${Python3_EXECUTABLE} ${check_symbols} ${PROJECT_SOURCE_DIR} ${module_objects})
set(check_headers_command
    ${CMAKE_COMMAND} -E env NM=${CMAKE_NM}
    ${Python3_EXECUTABLE} ${check_headers} ${PROJECT_SOURCE_DIR} $<TARGET_OBJECTS:gpon_core>)

add_custom_command(
    OUTPUT ${module_dir}/checked
    COMMAND ${check_host_command}
    COMMAND ${check_module_command}
    COMMAND ${check_host_symbols_command}
    COMMAND ${check_module_symbols_command}
    COMMAND ${check_headers_command}
    COMMAND ${CMAKE_COMMAND} -E touch ${module_dir}/checked
    DEPENDS ${check_objects} ${check_symbols} ${check_headers} ${PROJECT_SOURCE_DIR}/scripts/layers.py
            ${PROJECT_SOURCE_DIR}/src/layers.txt ${checked_sources}
            ${module_object} $<TARGET_OBJECTS:gpon_core>
    COMMENT "Checking what the core's objects hold"
    COMMAND_EXPAND_LISTS
    VERBATIM)
add_custom_target(freestanding ALL DEPENDS ${module_dir}/checked)
