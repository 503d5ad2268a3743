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
# The baseline of 32-bit x86 is SSE2 too: without it floats would be computed in registers of 80 bits.
if(CMAKE_SIZEOF_VOID_P EQUAL 4 AND CMAKE_SYSTEM_PROCESSOR MATCHES "^(i.86|x86_64|AMD64)$")
    target_compile_options(tessarune_flags INTERFACE -msse2 -mfpmath=sse)
endif()
target_link_options(tessarune_flags INTERFACE -Wl,--as-needed)
# Hardened, unless a sanitizer watches instead. The fortified calls need the optimiser.
if(NOT TESSARUNE_SANITIZE)
    target_compile_options(tessarune_flags INTERFACE
        -fstack-protector-strong $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2>)
    target_link_options(tessarune_flags INTERFACE -Wl,-z,relro,-z,now)
endif()
# The C++ runtime is linked into what is installed, so that a game's container, or another distribution, needs the C
# library only.
add_library(tessarune_own_runtime INTERFACE)
if(NOT TESSARUNE_SANITIZE)
    target_link_options(tessarune_own_runtime INTERFACE -static-libstdc++ -static-libgcc -Wl,--gc-sections)
endif()
if(TESSARUNE_SANITIZE)
    set(sanitize -fsanitize=${TESSARUNE_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_compile_options(tessarune_flags INTERFACE ${sanitize})
    target_link_options(tessarune_flags INTERFACE ${sanitize})
endif()

# Headers of others that most sources read, read once. A build from nothing takes half the time with them; the presets
# for work on the tree do without (CMAKE_DISABLE_PRECOMPILE_HEADERS), so that a source that forgets an include fails.
set(TESSARUNE_STANDARD_HEADERS <algorithm> <array> <atomic> <chrono> <cmath> <complex> <cstdint> <cstring> <exception>
    <filesystem> <fstream> <functional> <iostream> <limits> <map> <memory> <numbers> <optional> <set> <span> <sstream>
    <string> <string_view> <thread> <utility> <vector>)

# tessarune_include_root(VARIABLE name prefix): sets VARIABLE to an include root in which "prefix/..." is the current
# folder.
function(tessarune_include_root variable name prefix)
    set(root ${PROJECT_BINARY_DIR}/include/${name})
    get_filename_component(parent ${root}/${prefix} DIRECTORY)
    file(MAKE_DIRECTORY ${parent})
    file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR} ${root}/${prefix} SYMBOLIC)
    set(${variable} ${root} PARENT_SCOPE)
endfunction()

# tessarune_precompile(TARGET [HEADER...]): HEADERs are big ones beside the standard library's.
function(tessarune_precompile target)
    if(NOT CMAKE_BUILD_TYPE STREQUAL Release OR TESSARUNE_SANITIZE)
        return()
    elseif(ARGN)
        target_precompile_headers(${target} PRIVATE ${TESSARUNE_STANDARD_HEADERS} ${ARGN})
    elseif(target STREQUAL slib)
        target_precompile_headers(slib PRIVATE ${TESSARUNE_STANDARD_HEADERS})
    else()
        target_precompile_headers(${target} REUSE_FROM slib)
    endif()
endfunction()

# tessarune_library(NAME prefix [LINKS ...] [PRIVATE_LINKS ...] [PRECOMPILE ...]): the static library NAME of the current
# folder, whose headers are included as "prefix/...". A folder without sources yet is a target without an archive.
function(tessarune_library name prefix)
    cmake_parse_arguments(arg "" "" "LINKS;PRIVATE_LINKS;PRECOMPILE" ${ARGN})
    file(GLOB sources CONFIGURE_DEPENDS *.cpp)
    file(GLOB headers CONFIGURE_DEPENDS *.h)
    tessarune_include_root(root ${name} ${prefix})
    if(sources)
        add_library(${name} STATIC ${sources})
        target_include_directories(${name} PUBLIC ${root})
        target_link_libraries(${name} PUBLIC ${arg_LINKS} PRIVATE tessarune_flags ${arg_PRIVATE_LINKS})
        tessarune_precompile(${name} ${arg_PRECOMPILE})
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
        set(unit ${PROJECT_BINARY_DIR}/headercheck/${name}/${leaf}.cpp)
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
