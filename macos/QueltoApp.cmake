# The macOS platform library (platform/macos) and, once its entry point exists, Quelto.app.
enable_language(OBJCXX)

set(QUELTO_OBJCXX_OPTIONS $<$<COMPILE_LANGUAGE:OBJCXX>:-fobjc-arc>)

file(GLOB QUELTO_MACOS_SOURCES CONFIGURE_DEPENDS
    ${CMAKE_SOURCE_DIR}/platform/macos/*.cpp ${CMAKE_SOURCE_DIR}/platform/macos/*.mm)
add_library(quelto_macos STATIC ${QUELTO_MACOS_SOURCES})
target_link_libraries(quelto_macos PUBLIC quelto_core
    "-framework AppKit" "-framework ApplicationServices" "-framework CoreGraphics"
    "-framework ServiceManagement")
target_compile_options(quelto_macos PRIVATE ${QUELTO_WARNINGS} ${QUELTO_OBJCXX_OPTIONS})
