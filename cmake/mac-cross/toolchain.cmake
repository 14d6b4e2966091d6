# For macOS without a Mac: Zig's compiler with Darwin's C library, LLVM's linker, and the stubs of make_sdk.py.
# Expects QUILL_MAC_SDK, the folder with the stubs, and CMAKE_OSX_ARCHITECTURES, one of them. Read by scripts/mac.
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES QUILL_MAC_SDK)
set(CMAKE_OSX_SYSROOT ${QUILL_MAC_SDK})
set(CMAKE_OSX_DEPLOYMENT_TARGET 12.0)
foreach(language C CXX OBJCXX)
  set(CMAKE_${language}_COMPILER ${CMAKE_CURRENT_LIST_DIR}/compiler)
endforeach()
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
find_program(CMAKE_AR llvm-ar REQUIRED)
find_program(CMAKE_RANLIB llvm-ranlib REQUIRED)
set(CMAKE_INSTALL_NAME_TOOL true)
set(CMAKE_FIND_ROOT_PATH ${QUILL_MAC_SDK})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_INSTALL_LIBDIR lib)  # CMake would ask the compiled programs for the architecture
