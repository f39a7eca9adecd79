# Configures the macOS build on a machine that is not a Mac, so that scripts/check-macos can
# take the real compile commands from CMake and run them as syntax checks. Nothing is linked.
#
#   QUELTO_CHECK_SYSROOT  the macOS SDK sysroot (default: the MACOS_SYSROOT environment variable)
#   QUELTO_CHECK_ARCH     arm64 (default) or x86_64

if(NOT QUELTO_CHECK_SYSROOT)
    set(QUELTO_CHECK_SYSROOT "$ENV{MACOS_SYSROOT}")
endif()
if(NOT QUELTO_CHECK_ARCH)
    set(QUELTO_CHECK_ARCH arm64)
endif()
if(NOT IS_DIRECTORY "${QUELTO_CHECK_SYSROOT}")
    message(FATAL_ERROR "check-toolchain: no macOS sysroot at '${QUELTO_CHECK_SYSROOT}'")
endif()
# try_compile projects read this file again: hand them the same choices.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES QUELTO_CHECK_SYSROOT QUELTO_CHECK_ARCH)

set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_VERSION 22.0)
set(CMAKE_SYSTEM_PROCESSOR ${QUELTO_CHECK_ARCH})

find_program(QUELTO_CHECK_CLANG clang REQUIRED NO_CMAKE_FIND_ROOT_PATH)
find_program(QUELTO_CHECK_CLANGXX clang++ REQUIRED NO_CMAKE_FIND_ROOT_PATH)
set(CMAKE_C_COMPILER ${QUELTO_CHECK_CLANG})
set(CMAKE_CXX_COMPILER ${QUELTO_CHECK_CLANGXX})
set(CMAKE_OBJCXX_COMPILER ${QUELTO_CHECK_CLANGXX})
set(QUELTO_CHECK_TARGET ${QUELTO_CHECK_ARCH}-apple-macos13.0)
set(CMAKE_C_COMPILER_TARGET ${QUELTO_CHECK_TARGET})
set(CMAKE_CXX_COMPILER_TARGET ${QUELTO_CHECK_TARGET})
set(CMAKE_OBJCXX_COMPILER_TARGET ${QUELTO_CHECK_TARGET})

set(CMAKE_OSX_SYSROOT ${QUELTO_CHECK_SYSROOT} CACHE PATH "" FORCE)
set(CMAKE_OSX_ARCHITECTURES ${QUELTO_CHECK_ARCH} CACHE STRING "" FORCE)
set(CMAKE_OSX_DEPLOYMENT_TARGET 13.0 CACHE STRING "" FORCE)

# The SDK's own libc++ headers, never the host's.
set(QUELTO_CHECK_LIBCXX "-stdlib=libc++ -nostdinc++ -isystem ${QUELTO_CHECK_SYSROOT}/usr/include/c++/v1")
set(CMAKE_CXX_FLAGS_INIT "${QUELTO_CHECK_LIBCXX}")
set(CMAKE_OBJCXX_FLAGS_INIT "${QUELTO_CHECK_LIBCXX}")

# There is no Mach-O linker here: probe by compiling only.
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)

set(CMAKE_FIND_ROOT_PATH ${QUELTO_CHECK_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Nothing is linked or installed by the check; the Darwin platform files still ask for this tool.
set(CMAKE_INSTALL_NAME_TOOL true)
