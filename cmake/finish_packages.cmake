# Run by CPack when the Debian packages are made. CPack 3.25 has no variable for Multi-Arch. It also adds scripts that run
# ldconfig, which the trigger does, and the postrm among them outlives `apt remove`.
foreach(package IN LISTS CPACK_PACKAGE_FILES)
  set(contents ${CPACK_TEMPORARY_DIRECTORY}/finished)
  file(REMOVE_RECURSE ${contents})
  execute_process(COMMAND dpkg-deb --raw-extract ${package} ${contents} COMMAND_ERROR_IS_FATAL ANY)
  file(REMOVE ${contents}/DEBIAN/postinst ${contents}/DEBIAN/postrm)
  file(READ ${contents}/DEBIAN/control control)
  set(kind same)
  if(package MATCHES "/quill-tray-xembed_")
    set(kind foreign)  # a program, which hosts of any architecture call
  endif()
  file(WRITE ${contents}/DEBIAN/control "Multi-Arch: ${kind}\n${control}")
  execute_process(COMMAND dpkg-deb --root-owner-group --build ${contents} ${package} OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endforeach()

# `apt install *.deb` would find two versions of each package otherwise.
file(GLOB older ${CPACK_PACKAGE_DIRECTORY}/*.deb)
list(REMOVE_ITEM older ${CPACK_PACKAGE_FILES})
if(older)
  file(REMOVE ${older})
endif()
