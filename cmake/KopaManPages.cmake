# The manual pages are written in scdoc and turned into man pages at build time.
find_program(KOPA_SCDOC scdoc)
if(NOT KOPA_SCDOC)
    message(STATUS "scdoc not found: no manual pages")
    return()
endif()

set(_kopa_man_pages)
# NAME.SECTION: the commands in section 1, the daemon in 8.
foreach(page kopa.1 kopad-sim.1 kopa-sim-bus.1 kopa-bridge.8)
    get_filename_component(_section ${page} LAST_EXT)
    string(SUBSTRING ${_section} 1 -1 _section)
    set(_source ${PROJECT_SOURCE_DIR}/docs/man/${page}.scd)
    set(_page ${PROJECT_BINARY_DIR}/man/${page})
    add_custom_command(OUTPUT ${_page}
        COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/man
        COMMAND ${KOPA_SCDOC} < ${_source} > ${_page}
        DEPENDS ${_source}
        COMMENT "Manual page ${page}"
        VERBATIM)
    list(APPEND _kopa_man_pages ${_page})
    install(FILES ${_page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${_section})
endforeach()
add_custom_target(kopa-man-pages ALL DEPENDS ${_kopa_man_pages})
