# The areas of the source tree as build targets, and the layering between them as a build rule.
#
# Every area is one static library, quelto_<name>, built from the .cpp files of its folder
# (globbed with CONFIGURE_DEPENDS, so a new file lands in its area's target by itself). An area
# names the areas it uses; it links them, and it sees their folders and the folders they see,
# nothing else. "Sees" is real: the target's only include path is a folder of its own under
# the build tree (include-roots/<name>/), holding links to the headers of exactly the folders it
# may use. An include of a header from a higher floor finds no file there and fails to
# compile, whatever file it is in. CONTRIBUTING.md describes the floors.
#
# Objective-C++ belongs to the AppKit shells (app/*.mm, ui/*.mm) and to platform/macos/. A .mm
# or .m file in any other area's folder is a configure error, not a file silently left out.

set(QUELTO_INCLUDE_ROOTS ${CMAKE_BINARY_DIR}/include-roots)
set(QUELTO_OBJC_FOLDERS app ui platform/macos)

# The folders an area sees: its own, then those of the areas it uses, in floor order.
function(quelto_area_sees out)
    set(folders)
    foreach(area ${ARGN})
        if(NOT TARGET quelto_${area})
            message(FATAL_ERROR "quelto_area: unknown area \"${area}\" (declare it first)")
        endif()
        get_property(seen GLOBAL PROPERTY QUELTO_AREA_SEES_${area})
        list(APPEND folders ${seen})
    endforeach()
    list(REMOVE_DUPLICATES folders)
    set(${out} ${folders} PARENT_SCOPE)
endfunction()

# Makes include-roots/<root>/ with a link to every header of `folders` (source and generated).
# Made again at every configure, so a header removed or moved leaves no link behind; a header
# added is seen at the next configure, which the globs below trigger by themselves.
function(quelto_include_root root)
    set(dir ${QUELTO_INCLUDE_ROOTS}/${root})
    file(REMOVE_RECURSE ${dir})
    foreach(folder ${ARGN})
        file(GLOB headers CONFIGURE_DEPENDS
            ${CMAKE_SOURCE_DIR}/${folder}/*.h ${CMAKE_BINARY_DIR}/generated/${folder}/*.h)
        file(MAKE_DIRECTORY ${dir}/${folder})
        foreach(header ${headers})
            get_filename_component(name ${header} NAME)
            file(CREATE_LINK ${header} ${dir}/${folder}/${name} SYMBOLIC)
        endforeach()
    endforeach()
endfunction()

# Fails the configure when a folder outside the shells holds Objective-C.
function(quelto_refuse_objc folder)
    if(folder IN_LIST QUELTO_OBJC_FOLDERS)
        return()
    endif()
    file(GLOB objc CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/${folder}/*.mm
        ${CMAKE_SOURCE_DIR}/${folder}/*.m)
    if(objc)
        list(TRANSFORM objc REPLACE "^${CMAKE_SOURCE_DIR}/" "")
        string(REPLACE ";" ", " objc "${objc}")
        message(FATAL_ERROR "${objc}: Objective-C in ${folder}/, a portable folder. AppKit "
            "code belongs in the shells (app/*.mm, ui/*.mm) or in platform/macos/; the rest "
            "is C++ that builds everywhere.")
    endif()
endfunction()

# Gives `target` the include root `root` (seeing `folders`) and the project's warnings.
function(quelto_use_root target root)
    quelto_include_root(${root} ${ARGN})
    target_include_directories(${target} PRIVATE ${QUELTO_INCLUDE_ROOTS}/${root})
    target_compile_options(${target} PRIVATE ${QUELTO_WARNINGS})
endfunction()

# quelto_area(<name> FOLDER <folder> [USES <area>...] [SOURCES <extra sources>...])
# Declares quelto_<name> from <folder>/*.cpp, linking and seeing the areas it USES.
function(quelto_area name)
    cmake_parse_arguments(PARSE_ARGV 1 AREA "" "FOLDER" "USES;SOURCES")
    quelto_refuse_objc(${AREA_FOLDER})
    file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/${AREA_FOLDER}/*.cpp)
    list(APPEND sources ${AREA_SOURCES})
    if(NOT sources)
        message(FATAL_ERROR "quelto_area(${name}): ${AREA_FOLDER}/ has no .cpp file")
    endif()
    quelto_area_sees(seen ${AREA_USES})
    list(PREPEND seen ${AREA_FOLDER})
    set_property(GLOBAL PROPERTY QUELTO_AREA_SEES_${name} ${seen})
    set_property(GLOBAL APPEND PROPERTY QUELTO_AREAS ${name})

    add_library(quelto_${name} STATIC ${sources})
    list(TRANSFORM AREA_USES PREPEND quelto_)
    target_link_libraries(quelto_${name} PUBLIC ${AREA_USES})
    quelto_use_root(quelto_${name} ${name} ${seen})
endfunction()

# quelto_link_areas(<target> <area>...): a target built on areas (a program, the AppKit
# shells) links them and sees what they see; a library made so can be used as an area itself.
function(quelto_link_areas target)
    quelto_area_sees(seen ${ARGN})
    list(TRANSFORM ARGN PREPEND quelto_ OUTPUT_VARIABLE libraries)
    target_link_libraries(${target} PUBLIC ${libraries})
    quelto_use_root(${target} ${target} ${seen})
    string(REGEX REPLACE "^quelto_" "" name ${target})
    set_property(GLOBAL PROPERTY QUELTO_AREA_SEES_${name} ${seen})
endfunction()
