# The macOS side of the build: the real platform (platform/macos), the AppKit shells
# (app/*.mm, ui/*.mm) over the portable core, and Quelto.app with its Info.plist, icons and
# signature. The same file builds the app on a Mac and in scripts/check-macos on Linux.
enable_language(OBJCXX)

set(QUELTO_OBJCXX_OPTIONS $<$<COMPILE_LANGUAGE:OBJCXX>:-fobjc-arc>)
set(QUELTO_COPYRIGHT "Copyright © 2026 Quelto. All rights reserved." CACHE STRING
    "The bundle's human-readable copyright line")
set(QUELTO_SIGN_IDENTITY "Quelto Local Signing" CACHE STRING
    "The code-signing identity for local builds; ad hoc when the keychain does not have it")

# ---- The real platform behind the seam ----
# An area like the others (cmake/QueltoAreas.cmake): it sees the seam's headers and its own.
file(GLOB QUELTO_MACOS_OBJC_SOURCES CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/platform/macos/*.mm)
quelto_area(macos FOLDER platform/macos USES platform SOURCES ${QUELTO_MACOS_OBJC_SOURCES})
target_link_libraries(quelto_macos PUBLIC
    "-framework AppKit" "-framework ApplicationServices" "-framework CoreGraphics"
    "-framework ServiceManagement")
target_compile_options(quelto_macos PRIVATE ${QUELTO_OBJCXX_OPTIONS})

# ---- The AppKit shells (everything of the app but its entry point; the macOS tests use them)
# They sit on top: they see the whole core and the real platform.
file(GLOB QUELTO_SHELL_SOURCES CONFIGURE_DEPENDS
    ${CMAKE_SOURCE_DIR}/app/*.mm ${CMAKE_SOURCE_DIR}/ui/*.mm)
list(FILTER QUELTO_SHELL_SOURCES EXCLUDE REGEX "/app/main\\.mm$")
if(QUELTO_SHELL_SOURCES)
    add_library(quelto_shell STATIC ${QUELTO_SHELL_SOURCES})
    quelto_link_areas(quelto_shell app macos)
    target_link_libraries(quelto_shell PUBLIC "-framework UniformTypeIdentifiers")
    target_compile_options(quelto_shell PRIVATE ${QUELTO_OBJCXX_OPTIONS})
endif()

# ---- Quelto.app ----
if(EXISTS ${CMAKE_SOURCE_DIR}/app/main.mm)
    set(QUELTO_APP_RESOURCES
        ${CMAKE_SOURCE_DIR}/resources/AppIcon.icns
        ${CMAKE_SOURCE_DIR}/resources/menubar-active.png
        ${CMAKE_SOURCE_DIR}/resources/menubar-active@2x.png
        ${CMAKE_SOURCE_DIR}/resources/menubar-paused.png
        ${CMAKE_SOURCE_DIR}/resources/menubar-paused@2x.png)
    set_source_files_properties(${QUELTO_APP_RESOURCES} PROPERTIES
        MACOSX_PACKAGE_LOCATION Resources)

    add_executable(Quelto MACOSX_BUNDLE ${CMAKE_SOURCE_DIR}/app/main.mm ${QUELTO_APP_RESOURCES})
    quelto_link_areas(Quelto shell)
    target_compile_options(Quelto PRIVATE ${QUELTO_OBJCXX_OPTIONS})

    set(QUELTO_APP_EXECUTABLE Quelto)
    configure_file(${CMAKE_SOURCE_DIR}/macos/Info.plist.in
        ${CMAKE_BINARY_DIR}/generated/Info.plist @ONLY)
    set_target_properties(Quelto PROPERTIES
        OUTPUT_NAME Quelto
        MACOSX_BUNDLE_INFO_PLIST ${CMAKE_BINARY_DIR}/generated/Info.plist)

    # The signature covers the executable, Info.plist and the resources, so it is made again
    # on every build of the bundle (a target with no output is never up to date), not only
    # when the executable relinks: a changed icon must not leave a broken signature behind.
    # Where there is no codesign (the Linux check), the linker's own ad-hoc signature of the
    # arm64 executable is all there is.
    find_program(QUELTO_CODESIGN codesign)
    if(QUELTO_CODESIGN)
        add_custom_target(QueltoSigned ALL
            COMMAND ${CMAKE_SOURCE_DIR}/macos/sign-app $<TARGET_BUNDLE_DIR:Quelto>
                    "${QUELTO_SIGN_IDENTITY}"
            DEPENDS Quelto
            COMMENT "Signing Quelto.app"
            VERBATIM)
    endif()
endif()
