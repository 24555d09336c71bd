# SPDX-License-Identifier: GPL-2.0-only
# "cmake --install" installs the tool, its manual page and its bash completion.
include(GNUInstallDirs)
find_package(Python3 REQUIRED COMPONENTS Interpreter)

set(manual_page ${PROJECT_BINARY_DIR}/gponflow.1)
set(manual_page_maker ${PROJECT_SOURCE_DIR}/scripts/man-page.py)
add_custom_command(
    OUTPUT ${manual_page}
    COMMAND ${Python3_EXECUTABLE} ${manual_page_maker} $<TARGET_FILE:gponflow> > ${manual_page}.new
    COMMAND ${CMAKE_COMMAND} -E rename ${manual_page}.new ${manual_page}
    DEPENDS gponflow ${manual_page_maker}
    COMMENT "Manual page of gponflow"
    VERBATIM)

set(bash_completion ${PROJECT_BINARY_DIR}/gponflow.bash-completion)
add_custom_command(
    OUTPUT ${bash_completion}
    COMMAND gponflow completion > ${bash_completion}
    DEPENDS gponflow
    COMMENT "Bash completion of gponflow"
    VERBATIM)

add_custom_target(gponflow_texts ALL DEPENDS ${manual_page} ${bash_completion})

install(TARGETS gponflow DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES ${manual_page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${bash_completion} RENAME gponflow
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs/schemas
        DESTINATION ${CMAKE_INSTALL_DATADIR}/gponflow FILES_MATCHING PATTERN "*.schema.json")
