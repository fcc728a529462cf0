# Run by `cmake --install`: writes quorva.pc for the prefix the install goes to, which
# `cmake --install build --prefix P` may change after configuring.  The caller sets
# QUORVA_PC_TEMPLATE, QUORVA_PC_OUTPUT, QUORVA_PC_LIBDIR, QUORVA_PC_INCLUDEDIR and PROJECT_VERSION.
set(QUORVA_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
foreach(dir LIBDIR INCLUDEDIR)
  if(NOT IS_ABSOLUTE "${QUORVA_PC_${dir}}")
    set(QUORVA_PC_${dir} "\${prefix}/${QUORVA_PC_${dir}}")
  endif()
endforeach()
configure_file("${QUORVA_PC_TEMPLATE}" "${QUORVA_PC_OUTPUT}" @ONLY)
