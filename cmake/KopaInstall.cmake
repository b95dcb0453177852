# Installs the libraries, their headers, pkg-config files and a CMake package config
# (find_package(KopaPositioning) gives Kopa::positioning, Kopa::datatypes, Kopa::client and
# Kopa::c).
include(CMakePackageConfigHelpers)

set(KOPA_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/KopaPositioning)

install(TARGETS kopapositioning kopadatatypes
    EXPORT KopaPositioningTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kopa)
install(FILES include/KopaPositioning.h include/KopaFwErrorCodes.h include/KopaFailureCause.h
    ${PROJECT_BINARY_DIR}/include/KopaRelease.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kopa)
# Kopa::client in an export set of its own, shipped with libkopaclient's development files:
# the package configuration takes it in where it is installed.
install(TARGETS kopaclient
    EXPORT KopaClientTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kopa)
install(EXPORT KopaClientTargets NAMESPACE Kopa:: DESTINATION ${KOPA_CMAKE_DIR})
install(FILES client/include/KopaClient.h client/include/KopaClientError.h
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kopa)
# Kopa::c (libkopac, the C interface) likewise, shipped with libkopac's development files.
install(TARGETS kopac
    EXPORT KopaCTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kopa)
install(EXPORT KopaCTargets NAMESPACE Kopa:: DESTINATION ${KOPA_CMAKE_DIR})
install(FILES capi/include/kopa.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kopa)
install(DIRECTORY datatypes/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kopa
    FILES_MATCHING PATTERN "*.h")

# The documents the headers point to, and the API reference when `make docs` has built it, in
# one folder for both libraries (the packages split it between their -dev packages).
set(KOPA_DOC_DIR ${CMAKE_INSTALL_DATAROOTDIR}/doc/libkopapositioning)
install(FILES docs/text-format.md docs/errors.md DESTINATION ${KOPA_DOC_DIR})
# The examples, and the guides of the simulator and the Qt plugin with what they document.
install(FILES examples/blocking_position.cpp examples/async_position.cpp
    examples/client_position.cpp examples/c_position.c DESTINATION ${KOPA_DOC_DIR}/examples)
if(TARGET kopad-sim)
    install(FILES docs/kopad-sim.md DESTINATION ${KOPA_DOC_DIR})
endif()
if(TARGET kopa-bridge)
    install(FILES docs/kopa-bridge.md DESTINATION ${KOPA_DOC_DIR})
endif()
if(TARGET kopa_qt_position)
    install(FILES docs/qt-positioning.md DESTINATION ${KOPA_DOC_DIR})
    install(DIRECTORY examples/qt DESTINATION ${KOPA_DOC_DIR}/examples)
endif()
if(TARGET _kopapositioning)
    install(FILES examples/python_position.py DESTINATION ${KOPA_DOC_DIR}/examples)
endif()
install(DIRECTORY ${PROJECT_SOURCE_DIR}/build/docs/html DESTINATION ${KOPA_DOC_DIR} OPTIONAL)

install(EXPORT KopaPositioningTargets NAMESPACE Kopa:: DESTINATION ${KOPA_CMAKE_DIR})
configure_package_config_file(cmake/KopaPositioningConfig.cmake.in
    ${PROJECT_BINARY_DIR}/KopaPositioningConfig.cmake INSTALL_DESTINATION ${KOPA_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/KopaPositioningConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/KopaPositioningConfig.cmake
              ${PROJECT_BINARY_DIR}/KopaPositioningConfigVersion.cmake
        DESTINATION ${KOPA_CMAKE_DIR})

# The .pc files find the prefix from where they lie, so an installed tree can be moved.
file(RELATIVE_PATH KOPA_PC_TO_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" KOPA_PC_TO_PREFIX "${KOPA_PC_TO_PREFIX}")
configure_file(cmake/kopapositioning.pc.in ${PROJECT_BINARY_DIR}/kopapositioning.pc @ONLY)
configure_file(cmake/kopadatatypes.pc.in ${PROJECT_BINARY_DIR}/kopadatatypes.pc @ONLY)
configure_file(cmake/kopaclient.pc.in ${PROJECT_BINARY_DIR}/kopaclient.pc @ONLY)
configure_file(cmake/kopac.pc.in ${PROJECT_BINARY_DIR}/kopac.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/kopapositioning.pc ${PROJECT_BINARY_DIR}/kopadatatypes.pc
              ${PROJECT_BINARY_DIR}/kopaclient.pc ${PROJECT_BINARY_DIR}/kopac.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# Every installed part finds the installed libraries from wherever the tree lies, through a
# run path relative to itself: the programs, the libraries (a program's run path does not reach
# the libraries its libraries load, and with --as-needed a kopa::Client program names only
# libkopaclient), the Python module and the Qt plugin (qt/plugin). Distribution packages turn
# them all off with -DCMAKE_SKIP_INSTALL_RPATH=ON: their libraries lie on the standard path.
file(RELATIVE_PATH KOPA_BIN_TO_LIB /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
foreach(program kopa kopad-sim)
    if(TARGET ${program})
        set_target_properties(${program} PROPERTIES INSTALL_RPATH "$ORIGIN/${KOPA_BIN_TO_LIB}")
    endif()
endforeach()
if(TARGET kopa-bridge)
    file(RELATIVE_PATH _kopa_sbin_to_lib /${CMAKE_INSTALL_SBINDIR} /${CMAKE_INSTALL_LIBDIR})
    set_target_properties(kopa-bridge PROPERTIES INSTALL_RPATH "$ORIGIN/${_kopa_sbin_to_lib}")
endif()
set_target_properties(kopapositioning kopaclient kopac PROPERTIES INSTALL_RPATH "$ORIGIN")
if(TARGET _kopapositioning)
    file(RELATIVE_PATH _kopa_python_to_lib /${KOPA_PYTHON_INSTALL_DIR}/kopapositioning
        /${CMAKE_INSTALL_LIBDIR})
    set_target_properties(_kopapositioning PROPERTIES
        INSTALL_RPATH "$ORIGIN/${_kopa_python_to_lib}")
endif()

# kopa-sim-bus runs a program against the installed kopad-sim on a private bus; it finds the
# simulator and the bus configuration relative to itself.
if(TARGET kopad-sim)
    file(RELATIVE_PATH KOPA_BIN_TO_DATA /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_DATADIR})
    string(REGEX REPLACE "/$" "" KOPA_BIN_TO_DATA "${KOPA_BIN_TO_DATA}")
    configure_file(scripts/kopa-sim-bus.in ${PROJECT_BINARY_DIR}/kopa-sim-bus @ONLY)
    install(PROGRAMS ${PROJECT_BINARY_DIR}/kopa-sim-bus DESTINATION ${CMAKE_INSTALL_BINDIR})
    install(FILES service/com.ruvex.location.kopad.xml
        DESTINATION ${CMAKE_INSTALL_DATADIR}/dbus-1/interfaces)
endif()

if(TARGET kopa AND TARGET kopad-sim)
    include(cmake/KopaManPages.cmake)
endif()
