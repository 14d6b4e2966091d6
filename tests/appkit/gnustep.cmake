# quill_gnustep: Objective-C++ for GNUstep on Debian, with a stand-in for what it lacks of a Mac.
file(GLOB gcc_directories /usr/lib/gcc/*-linux-gnu/*)
list(SORT gcc_directories COMPARE NATURAL)
list(GET gcc_directories -1 gcc_directory)

add_library(quill_gnustep_flags INTERFACE)
target_compile_options(quill_gnustep_flags INTERFACE "$<$<COMPILE_LANGUAGE:OBJCXX>:SHELL:
  -Wno-sign-conversion -fobjc-runtime=gcc -fconstant-string-class=NSConstantString -fexceptions -fobjc-exceptions
  -isystem /usr/include/GNUstep -isystem ${CMAKE_CURRENT_LIST_DIR}/standin -idirafter ${gcc_directory}/include
  -include ${CMAKE_CURRENT_LIST_DIR}/standin/standin.h>")
target_compile_definitions(quill_gnustep_flags INTERFACE
  $<$<COMPILE_LANGUAGE:OBJCXX>:GNUSTEP;GNUSTEP_BASE_LIBRARY=1;GNU_GUI_LIBRARY=1;GNU_RUNTIME=1;_NATIVE_OBJC_EXCEPTIONS>)

add_library(quill_standin STATIC ${CMAKE_CURRENT_LIST_DIR}/standin/standin.mm)
target_link_libraries(quill_standin PUBLIC quill_gnustep_flags)

add_library(quill_gnustep INTERFACE)
# Whole: nothing refers to categories by name.
target_link_libraries(quill_gnustep INTERFACE quill_gnustep_flags
  -Wl,--whole-archive quill_standin -Wl,--no-whole-archive -L${gcc_directory} gnustep-gui gnustep-base objc)
