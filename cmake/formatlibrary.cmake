# The default format library. It is made again when its designer changes, not when the program around it does.
set(format_library ${PROJECT_BINARY_DIR}/share/tessarune/Tessarune.afl)
file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/share/tessarune)
if(TESSARUNE_FORMAT_LIBRARY)
    file(COPY ${TESSARUNE_FORMAT_LIBRARY}/ DESTINATION ${PROJECT_BINARY_DIR}/share/tessarune)
    add_custom_target(format_library)
endif()
# The profiles of games that are shipped beside it.
configure_file(share/games.conf ${PROJECT_BINARY_DIR}/share/tessarune/games.conf COPYONLY)
if(TESSARUNE_FORMAT_LIBRARY)
    return()
endif()
add_custom_command(OUTPUT ${format_library}
    COMMAND library_maker ${format_library}
    DEPENDS tessarune_design
    USES_TERMINAL
    COMMENT "Designing the format library" VERBATIM)
add_custom_target(format_library ALL DEPENDS ${format_library})
