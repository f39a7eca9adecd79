# The version: the one place every copy of it comes from.
#
# Info.plist (CFBundleShortVersionString, CFBundleVersion) and platform/BuildSettings.h are
# configured from these two, and through them the About tab, the diagnostics text, the update
# check and the HTTP clients' User-Agent show them. The release workflow sets both from the
# tag (scripts/release-version); a local build uses the defaults below. Included before
# project(), which takes its version from here; also runs on its own with cmake -P, which is
# how the tests check what it refuses.
set(QUELTO_VERSION "1.0.0" CACHE STRING "Marketing version (CFBundleShortVersionString)")
set(QUELTO_BUILD_NUMBER "1" CACHE STRING "Build number (CFBundleVersion)")

# macOS wants one to three dot-separated whole numbers in both keys, and the update check
# compares builds as integers: anything else would count as build 0 there, and such a build
# would be offered every update.
if(NOT QUELTO_VERSION MATCHES "^(0|[1-9][0-9]*)(\\.(0|[1-9][0-9]*))?(\\.(0|[1-9][0-9]*))?$")
    message(FATAL_ERROR "QUELTO_VERSION is \"${QUELTO_VERSION}\": it must be one to three whole "
        "numbers separated by dots, such as 1.2.0")
endif()
string(LENGTH "${QUELTO_BUILD_NUMBER}" QUELTO_BUILD_NUMBER_DIGITS)
if(NOT QUELTO_BUILD_NUMBER MATCHES "^[1-9][0-9]*$" OR QUELTO_BUILD_NUMBER_DIGITS GREATER 18)
    message(FATAL_ERROR "QUELTO_BUILD_NUMBER is \"${QUELTO_BUILD_NUMBER}\": it must be a whole "
        "number from 1 up, at most 18 digits long, such as 57")
endif()
