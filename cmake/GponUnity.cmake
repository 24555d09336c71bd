# SPDX-License-Identifier: GPL-2.0-only
# Whoever edits compiles one source at a time; builds that start from nothing are faster with a few
# large ones, because each source parses the same headers and instantiates the same templates.

# gpon_compile_together(TARGET COUNT): compiles up to COUNT sources of TARGET as one. Sources with the
# property SKIP_UNITY_BUILD_INCLUSION are compiled separately.
function(gpon_compile_together target count)
    set_target_properties(${target} PROPERTIES
                          UNITY_BUILD ${GPON_UNITY_ALL} UNITY_BUILD_BATCH_SIZE ${count})
endfunction()
