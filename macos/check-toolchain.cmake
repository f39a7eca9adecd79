# Configures the macOS build on a machine that is not a Mac (clang and ld64.lld against a macOS
# SDK sysroot), so that scripts/check-macos can build and link the real targets, one
# architecture per build tree, from the same CMake files as a Mac.
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

# The SDK's own libc++ headers, never the host's. -nostdinc++ goes into the compile rules
# alone: in the flags it would also reach the link, where clang reports it as unused.
set(QUELTO_CHECK_LIBCXX "-stdlib=libc++ -isystem ${QUELTO_CHECK_SYSROOT}/usr/include/c++/v1")
set(CMAKE_CXX_FLAGS_INIT "${QUELTO_CHECK_LIBCXX}")
set(CMAKE_OBJCXX_FLAGS_INIT "${QUELTO_CHECK_LIBCXX}")
set(CMAKE_CXX_COMPILE_OBJECT
    "<CMAKE_CXX_COMPILER> <DEFINES> <INCLUDES> <FLAGS> -nostdinc++ -o <OBJECT> -c <SOURCE>")
set(CMAKE_OBJCXX_COMPILE_OBJECT
    "<CMAKE_OBJCXX_COMPILER> <DEFINES> <INCLUDES> -x objective-c++ <FLAGS> -nostdinc++ -o <OBJECT> -c <SOURCE>")

# LLVM's Mach-O linker (ld64.lld), which clang finds beside itself; it signs arm64 executables
# ad hoc as Apple's linker does. Warnings from it fail the check like any other diagnostic.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-fuse-ld=lld")

set(CMAKE_FIND_ROOT_PATH ${QUELTO_CHECK_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Nothing is installed by the check; the Darwin platform files still ask for this tool.
find_program(QUELTO_CHECK_INSTALL_NAME_TOOL NAMES llvm-install-name-tool llvm-install-name-tool-14
    NO_CMAKE_FIND_ROOT_PATH)
if(QUELTO_CHECK_INSTALL_NAME_TOOL)
    set(CMAKE_INSTALL_NAME_TOOL ${QUELTO_CHECK_INSTALL_NAME_TOOL})
else()
    set(CMAKE_INSTALL_NAME_TOOL true)
endif()
