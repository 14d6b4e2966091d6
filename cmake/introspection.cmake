# GObject introspection, made from the header: a typelib for GJS, Python and other languages that read it when they run,
# and a vapi for Vala. `introspection` builds both; the option also installs them.
option(QUILL_INTROSPECTION "Build and install a typelib and a vapi" OFF)
if(QUILL_INTROSPECTION)
  set(required REQUIRED)
  set(all ALL)
endif()
foreach(tool g-ir-scanner g-ir-compiler vapigen)
  string(MAKE_C_IDENTIFIER ${tool} name)
  find_program(${name} ${tool} ${required})
  if(NOT ${name})
    return()
  endif()
endforeach()

set(introspection ${PROJECT_BINARY_DIR}/introspection)
set(header ${PROJECT_SOURCE_DIR}/native/exports/quill_tray_manager.h)
set(gir ${introspection}/QuillTrayManager-1.0.gir)
set(typelib ${introspection}/QuillTrayManager-1.0.typelib)
set(vapi ${introspection}/quill_tray_manager.vapi)
file(WRITE ${introspection}/quill_tray_manager.deps "gio-2.0\n")

# The scanner asks the built library for its name.
add_custom_command(OUTPUT ${gir} ${typelib} ${vapi}
  COMMAND ${g_ir_scanner} --quiet --warn-all --warn-error --no-libtool
          --namespace QuillTrayManager --nsversion 1.0 --include Gio-2.0
          --identifier-prefix QuillTrayManager --identifier-prefix quill_tray_manager --symbol-prefix quill_tray_manager
          --c-include quill_tray_manager.h --pkg-export quill_tray_manager
          --library quill_tray_manager -L$<TARGET_FILE_DIR:quill_tray_manager> --output ${gir} ${header}
  COMMAND ${g_ir_compiler} --output ${typelib} ${gir}
  COMMAND ${vapigen} --quiet --library quill_tray_manager --pkg gio-2.0 --directory ${introspection} ${gir}
  WORKING_DIRECTORY ${introspection}
  DEPENDS quill_tray_manager ${header}
  VERBATIM)
add_custom_target(introspection ${all} DEPENDS ${gir} ${typelib} ${vapi})

if(QUILL_INTROSPECTION)
  install(FILES ${typelib} DESTINATION ${CMAKE_INSTALL_LIBDIR}/girepository-1.0 COMPONENT introspection)
  install(FILES ${gir} DESTINATION ${CMAKE_INSTALL_DATADIR}/gir-1.0 COMPONENT development)
  install(FILES ${vapi} ${introspection}/quill_tray_manager.deps
    DESTINATION ${CMAKE_INSTALL_DATADIR}/vala/vapi COMPONENT development)
endif()
