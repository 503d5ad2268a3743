# The man pages of the programs, and completion for three shells, as the programs print them; in the shape of an
# installed tree.
set(share ${PROJECT_BINARY_DIR}/share)
set(program_pages)

# tessarune_page(TARGET PROGRAM PAGE FILE): what PROGRAM --make=PAGE prints.
function(tessarune_page target program page file)
    get_filename_component(folder ${share}/${file} DIRECTORY)
    file(MAKE_DIRECTORY ${folder})
    add_custom_command(OUTPUT ${share}/${file}
        COMMAND ${target} --make=${page} > ${share}/${file}
        DEPENDS ${target} COMMENT "Printing ${file}" VERBATIM)
    set(program_pages ${program_pages} ${share}/${file} PARENT_SCOPE)
endfunction()

foreach(target tessarune_config_tool tessarune_library_tool tessarune_run_tool tessarune_replay_tool tessarune_demo_tool tessarune_info
        tessarune_page_tool)
    get_target_property(program ${target} OUTPUT_NAME)
    tessarune_page(${target} ${program} man man/man1/${program}.1)
    tessarune_page(${target} ${program} bash bash-completion/completions/${program})
    tessarune_page(${target} ${program} zsh zsh/site-functions/_${program})
    tessarune_page(${target} ${program} fish fish/vendor_completions.d/${program}.fish)
endforeach()

# The demonstration and the page among the desktop's programs.
file(MAKE_DIRECTORY ${share}/applications)
foreach(program demo page)
    configure_file(tools/${program}/tessarune-${program}.desktop ${share}/applications/tessarune-${program}.desktop COPYONLY)
endforeach()

add_custom_target(program_pages ALL DEPENDS ${program_pages})
