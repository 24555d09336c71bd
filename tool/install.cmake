# SPDX-License-Identifier: GPL-2.0-only
# "cmake --install" installs the tool, its manual pages, completions and schemas.
include(GNUInstallDirs)
find_package(Python3 REQUIRED COMPONENTS Interpreter)

set(manual_pages ${PROJECT_BINARY_DIR}/man)
set(manual_page_maker ${PROJECT_SOURCE_DIR}/scripts/man-page.py)
add_custom_command(
    OUTPUT ${manual_pages}/gponflow.1
    COMMAND ${CMAKE_COMMAND} -E rm -rf ${manual_pages} ${manual_pages}.new
    COMMAND ${CMAKE_COMMAND} -E make_directory ${manual_pages}.new
    COMMAND ${Python3_EXECUTABLE} ${manual_page_maker} $<TARGET_FILE:gponflow> ${manual_pages}.new
    COMMAND ${CMAKE_COMMAND} -E rename ${manual_pages}.new ${manual_pages}
    DEPENDS gponflow ${manual_page_maker}
    COMMENT "Manual pages of gponflow"
    VERBATIM)

# Where each shell looks for the completions of packages.
set(completion_places bash bash-completion/completions gponflow
                      zsh zsh/vendor-completions _gponflow
                      fish fish/vendor_completions.d gponflow.fish)
set(completions)
while(completion_places)
    list(POP_FRONT completion_places shell place name)
    set(completion ${PROJECT_BINARY_DIR}/completion/${shell}/${name})
    add_custom_command(
        OUTPUT ${completion}
        COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/completion/${shell}
        COMMAND gponflow completion ${shell} > ${completion}
        DEPENDS gponflow
        COMMENT "Completion of gponflow for ${shell}"
        VERBATIM)
    list(APPEND completions ${completion})
    install(FILES ${completion} DESTINATION ${CMAKE_INSTALL_DATADIR}/${place})
endwhile()

add_custom_target(gponflow_texts ALL DEPENDS ${manual_pages}/gponflow.1 ${completions})

install(TARGETS gponflow DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY ${manual_pages}/ DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs/schemas
        DESTINATION ${CMAKE_INSTALL_DATADIR}/gponflow FILES_MATCHING PATTERN "*.schema.json")
