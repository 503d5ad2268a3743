# How targets are made here. One folder is one target. An include names the room and the file
# ("goal/render/renderer.h", "library/hull.h"), and goes through an include root that holds this folder and nothing
# else, so that a target sees the headers of what it links and of nothing else.

# Locks are held where the fields say so (slib/threadsafety.h); only clang can tell. For src, library and tools.
set(TESSARUNE_LOCK_CHECKS $<$<COMPILE_LANG_AND_ID:CXX,Clang>:-Wthread-safety>)

add_library(tessarune_flags INTERFACE)
target_compile_options(tessarune_flags INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion
    $<$<BOOL:${TESSARUNE_WERROR}>:-Werror>
    # Multiply and add stay separate operations: every vector target gives the same bits.
    -ffp-contract=off)
if(TESSARUNE_SANITIZE)
    set(sanitize -fsanitize=${TESSARUNE_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_compile_options(tessarune_flags INTERFACE ${sanitize})
    target_link_options(tessarune_flags INTERFACE ${sanitize})
endif()

# tessarune_include_root(VARIABLE name prefix): sets VARIABLE to an include root in which "prefix/..." is the current
# folder.
function(tessarune_include_root variable name prefix)
    set(root ${CMAKE_BINARY_DIR}/include/${name})
    get_filename_component(parent ${root}/${prefix} DIRECTORY)
    file(MAKE_DIRECTORY ${parent})
    file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR} ${root}/${prefix} SYMBOLIC)
    set(${variable} ${root} PARENT_SCOPE)
endfunction()

# tessarune_library(NAME prefix [LINKS ...] [PRIVATE_LINKS ...]): the static library NAME of the current folder,
# whose headers are included as "prefix/...". A folder without sources yet is a target without an archive.
function(tessarune_library name prefix)
    cmake_parse_arguments(arg "" "" "LINKS;PRIVATE_LINKS" ${ARGN})
    file(GLOB sources CONFIGURE_DEPENDS *.cpp)
    file(GLOB headers CONFIGURE_DEPENDS *.h)
    tessarune_include_root(root ${name} ${prefix})
    if(sources)
        add_library(${name} STATIC ${sources})
        target_include_directories(${name} PUBLIC ${root})
        target_link_libraries(${name} PUBLIC ${arg_LINKS} PRIVATE tessarune_flags ${arg_PRIVATE_LINKS})
    else()
        add_library(${name} INTERFACE)
        target_include_directories(${name} INTERFACE ${root})
        target_link_libraries(${name} INTERFACE ${arg_LINKS})
    endif()
    tessarune_check_headers(${name} ${prefix} "${headers}")
endfunction()

# Compiles each header alone, with nothing in reach but what its target links. A source includes the header of its
# own name first (tests/tree/include_graph.py sees to it), so only a header without one needs a unit.
function(tessarune_check_headers name prefix headers)
    if(NOT headers OR NOT TESSARUNE_TESTS)
        return()
    endif()
    set(units)
    foreach(header ${headers})
        string(REGEX REPLACE "[.]h$" ".cpp" source ${header})
        if(EXISTS ${source})
            continue()
        endif()
        get_filename_component(leaf ${header} NAME)
        set(unit ${CMAKE_BINARY_DIR}/headercheck/${name}/${leaf}.cpp)
        file(CONFIGURE OUTPUT ${unit} CONTENT "#include \"${prefix}/${leaf}\"\n")
        list(APPEND units ${unit})
    endforeach()
    if(NOT units)
        return()
    endif()
    add_library(headercheck_${name} OBJECT ${units})
    target_compile_options(headercheck_${name} PRIVATE -O0)
    target_link_libraries(headercheck_${name} PRIVATE tessarune_flags ${name})
endfunction()
