# Install rules: the header, both libraries, a CMake package (QuorvaConfig.cmake with its version
# file and targets) and quorva.pc for pkg-config.  Included by the top-level CMakeLists.txt after
# the targets quorva (static) and quorva_shared are defined.
include(CMakePackageConfigHelpers)

set(QUORVA_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Quorva)

install(TARGETS quorva quorva_shared EXPORT QuorvaTargets
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES ${CMAKE_SOURCE_DIR}/include/Quorva.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

install(EXPORT QuorvaTargets NAMESPACE Quorva:: DESTINATION ${QUORVA_CMAKE_DIR})
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/QuorvaConfig.cmake.in
                              ${CMAKE_BINARY_DIR}/QuorvaConfig.cmake
                              INSTALL_DESTINATION ${QUORVA_CMAKE_DIR})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/QuorvaConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/QuorvaConfig.cmake ${CMAKE_BINARY_DIR}/QuorvaConfigVersion.cmake
        DESTINATION ${QUORVA_CMAKE_DIR})

# quorva.pc names the install prefix, known for sure only when installing.
install(CODE "
  set(QUORVA_PC_TEMPLATE \"${CMAKE_CURRENT_LIST_DIR}/quorva.pc.in\")
  set(QUORVA_PC_OUTPUT \"${CMAKE_BINARY_DIR}/quorva.pc\")
  set(QUORVA_PC_LIBDIR \"${CMAKE_INSTALL_LIBDIR}\")
  set(QUORVA_PC_INCLUDEDIR \"${CMAKE_INSTALL_INCLUDEDIR}\")
  set(PROJECT_VERSION \"${PROJECT_VERSION}\")
  include(\"${CMAKE_CURRENT_LIST_DIR}/QuorvaWritePc.cmake\")")
install(FILES ${CMAKE_BINARY_DIR}/quorva.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
