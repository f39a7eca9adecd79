# The macOS side of the build: the real platform (platform/macos) and Quelto.app, the AppKit
# shells (app/*.mm, ui/*.mm) over the portable core, with its Info.plist, icons and an ad-hoc
# signature.
enable_language(OBJCXX)

set(QUELTO_OBJCXX_OPTIONS $<$<COMPILE_LANGUAGE:OBJCXX>:-fobjc-arc>)
set(QUELTO_COPYRIGHT "Copyright © 2026 Quelto. All rights reserved." CACHE STRING
    "The bundle's human-readable copyright line")

# ---- The real platform behind the seam ----
file(GLOB QUELTO_MACOS_SOURCES CONFIGURE_DEPENDS
    ${CMAKE_SOURCE_DIR}/platform/macos/*.cpp ${CMAKE_SOURCE_DIR}/platform/macos/*.mm)
add_library(quelto_macos STATIC ${QUELTO_MACOS_SOURCES})
target_link_libraries(quelto_macos PUBLIC quelto_core
    "-framework AppKit" "-framework ApplicationServices" "-framework CoreGraphics"
    "-framework ServiceManagement")
target_compile_options(quelto_macos PRIVATE ${QUELTO_WARNINGS} ${QUELTO_OBJCXX_OPTIONS})

# ---- Quelto.app ----
file(GLOB QUELTO_APP_SOURCES CONFIGURE_DEPENDS
    ${CMAKE_SOURCE_DIR}/app/*.mm ${CMAKE_SOURCE_DIR}/ui/*.mm)
if(EXISTS ${CMAKE_SOURCE_DIR}/app/main.mm)
    set(QUELTO_APP_RESOURCES
        ${CMAKE_SOURCE_DIR}/resources/AppIcon.icns
        ${CMAKE_SOURCE_DIR}/resources/menubar-active.png
        ${CMAKE_SOURCE_DIR}/resources/menubar-active@2x.png
        ${CMAKE_SOURCE_DIR}/resources/menubar-paused.png
        ${CMAKE_SOURCE_DIR}/resources/menubar-paused@2x.png)
    set_source_files_properties(${QUELTO_APP_RESOURCES} PROPERTIES
        MACOSX_PACKAGE_LOCATION Resources)

    add_executable(Quelto MACOSX_BUNDLE ${QUELTO_APP_SOURCES} ${QUELTO_APP_RESOURCES})
    target_link_libraries(Quelto PRIVATE quelto_macos "-framework UniformTypeIdentifiers")
    target_compile_options(Quelto PRIVATE ${QUELTO_WARNINGS} ${QUELTO_OBJCXX_OPTIONS})

    set(QUELTO_APP_EXECUTABLE Quelto)
    configure_file(${CMAKE_SOURCE_DIR}/macos/Info.plist.in
        ${CMAKE_BINARY_DIR}/generated/Info.plist @ONLY)
    set_target_properties(Quelto PROPERTIES
        OUTPUT_NAME Quelto
        MACOSX_BUNDLE_INFO_PLIST ${CMAKE_BINARY_DIR}/generated/Info.plist)

    # An ad-hoc signature: the Accessibility permission is granted to a signed identity.
    add_custom_command(TARGET Quelto POST_BUILD
        COMMAND codesign --force --sign - --timestamp=none $<TARGET_BUNDLE_DIR:Quelto>
        COMMENT "Signing Quelto.app (ad hoc)"
        VERBATIM)
endif()
