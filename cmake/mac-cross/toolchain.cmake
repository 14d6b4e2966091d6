# For macOS without a Mac: Zig's compiler with Darwin's C library, LLVM's linker, and the stubs of make_sdk.py.
# Expects QUILL_MAC_SDK, the folder with the stubs, QUILL_MAC_PACKAGES, that of other packages, and in
# CMAKE_OSX_ARCHITECTURES one architecture. Read by scripts/mac.
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES QUILL_MAC_SDK QUILL_MAC_PACKAGES)
set(CMAKE_OSX_SYSROOT ${QUILL_MAC_SDK})
set(CMAKE_OSX_DEPLOYMENT_TARGET 12.0)
foreach(language C CXX OBJCXX)
  set(CMAKE_${language}_COMPILER ${CMAKE_CURRENT_LIST_DIR}/compiler)
endforeach()
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
find_program(CMAKE_AR llvm-ar REQUIRED)
find_program(CMAKE_RANLIB llvm-ranlib REQUIRED)
set(CMAKE_INSTALL_NAME_TOOL true)
# CMake asks a Mac's sw_vers whether there are rpaths, so this file is read once more behind CMake's own rules.
set(CMAKE_SHARED_LIBRARY_RUNTIME_C_FLAG "-Wl,-rpath,")
set(CMAKE_USER_MAKE_RULES_OVERRIDE ${CMAKE_CURRENT_LIST_FILE})
set(CMAKE_FIND_ROOT_PATH ${QUILL_MAC_SDK} ${QUILL_MAC_PACKAGES})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_INSTALL_LIBDIR lib)  # CMake would ask the compiled programs for the architecture
