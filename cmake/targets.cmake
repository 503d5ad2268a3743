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
    # It doesn't see the fences of the status page, which guard memory that this process alone writes.
    if(TESSARUNE_SANITIZE STREQUAL thread AND CMAKE_CXX_COMPILER_ID STREQUAL GNU)
        list(APPEND sanitize -Wno-tsan)
    endif()
    target_compile_options(tessarune_flags INTERFACE ${sanitize})
    target_link_options(tessarune_flags INTERFACE ${sanitize})
endif()

# tessarune_include_root(VARIABLE name prefix): sets VARIABLE to an include root in which "prefix/..." is the current
# folder.
function(tessarune_include_root variable name prefix)
    set(root ${PROJECT_BINARY_DIR}/include/${name})
    get_filename_component(parent ${root}/${prefix} DIRECTORY)
    file(MAKE_DIRECTORY ${parent})
    file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR} ${root}/${prefix} SYMBOLIC)
    set(${variable} ${root} PARENT_SCOPE)
endfunction()

# tessarune_unite(TARGET): compiles its sources as a few texts, as most of the time goes into headers. A build from nothing
# takes half the time so; the presets for work on the tree do without, so that a source that forgets an include fails.
if(TESSARUNE_UNITY)
    find_package(Python3 QUIET COMPONENTS Interpreter)
endif()
function(tessarune_unite target)
    if(NOT TESSARUNE_UNITY OR NOT Python3_FOUND)
        return()
    endif()
    get_target_property(sources ${target} SOURCES)
    execute_process(COMMAND ${Python3_EXECUTABLE} ${PROJECT_SOURCE_DIR}/cmake/together.py ${sources}
                    WORKING_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR} OUTPUT_VARIABLE groups COMMAND_ERROR_IS_FATAL ANY)
    set(number 0)
    string(REGEX MATCHALL "[^\n]+" groups "${groups}")
    foreach(group ${groups})
        math(EXPR number "${number} + 1")
        string(REPLACE "|" ";" members ${group})
        if(NOT members STREQUAL group)
            set_source_files_properties(${members} PROPERTIES UNITY_GROUP ${number})
        endif()
    endforeach()
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP)
    # Each source is included there, and so taken for a header that others may include as well.
    target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>)
endfunction()

# tessarune_library(NAME prefix [LINKS ...] [PRIVATE_LINKS ...]): the static library NAME of the current folder, whose
# headers are included as "prefix/...". A folder without sources yet is a target without an archive.
function(tessarune_library name prefix)
    cmake_parse_arguments(arg "" "" "LINKS;PRIVATE_LINKS" ${ARGN})
    file(GLOB sources CONFIGURE_DEPENDS *.cpp)
    file(GLOB headers CONFIGURE_DEPENDS *.h)
    tessarune_include_root(root ${name} ${prefix})
    if(sources)
        add_library(${name} STATIC ${sources})
        target_include_directories(${name} PUBLIC ${root})
        target_link_libraries(${name} PUBLIC ${arg_LINKS} PRIVATE tessarune_flags ${arg_PRIVATE_LINKS})
        tessarune_unite(${name})
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
