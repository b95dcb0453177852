# The manual pages are written in scdoc and turned into man pages at build time.
find_program(KOPA_SCDOC scdoc)
if(NOT KOPA_SCDOC)
    message(STATUS "scdoc not found: no manual pages")
    return()
endif()

set(_kopa_man_pages)
foreach(page kopa kopad-sim kopa-sim-bus)
    set(_source ${PROJECT_SOURCE_DIR}/docs/man/${page}.1.scd)
    set(_page ${PROJECT_BINARY_DIR}/man/${page}.1)
    add_custom_command(OUTPUT ${_page}
        COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/man
        COMMAND ${KOPA_SCDOC} < ${_source} > ${_page}
        DEPENDS ${_source}
        COMMENT "Manual page ${page}(1)"
        VERBATIM)
    list(APPEND _kopa_man_pages ${_page})
endforeach()
add_custom_target(kopa-man-pages ALL DEPENDS ${_kopa_man_pages})
install(FILES ${_kopa_man_pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
