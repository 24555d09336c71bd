# SPDX-License-Identifier: GPL-2.0-only
# Whoever edits compiles one source at a time; builds that start from nothing are faster with a few
# large ones, because each source parses the same headers and instantiates the same templates.

# gpon_compile_together(TARGET COUNT): compiles up to COUNT sources of TARGET as one. Sources with the
# property SKIP_UNITY_BUILD_INCLUSION are compiled separately.
function(gpon_compile_together target count)
    set_target_properties(${target} PROPERTIES
                          UNITY_BUILD ${GPON_UNITY_ALL} UNITY_BUILD_BATCH_SIZE ${count})
    gpon_list_joined(${target})
    # A variable may have the name of another source's constant. Builds that compile each source
    # separately check those of its own.
    if(GPON_UNITY_ALL)
        target_compile_options(${target} PRIVATE -Wno-shadow
                               $<$<CXX_COMPILER_ID:GNU>:-Wshadow=local>)
    endif()
endfunction()

# gpon_list_joined(TARGET): writes the sources of TARGET to a list for scripts/check-joined-names.py.
# Which sources are joined changes with each new one, so the check reads all of a target.
function(gpon_list_joined target)
    get_target_property(folder ${target} SOURCE_DIR)
    get_target_property(sources ${target} SOURCES)
    list(JOIN sources "\n" lines)
    set(list ${PROJECT_BINARY_DIR}/joined/${target}.txt)
    file(GENERATE OUTPUT ${list} CONTENT "${folder}\n${lines}\n")
    set_property(GLOBAL APPEND PROPERTY GPON_JOINED_LISTS ${list})
endfunction()
