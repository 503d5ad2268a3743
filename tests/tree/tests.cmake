# The rooms see those below them and no others, by their names.
add_test(NAME tree/include_graph
         COMMAND Python3::Interpreter ${CMAKE_CURRENT_LIST_DIR}/include_graph.py ${PROJECT_SOURCE_DIR})

# What the trees hold: the exported names, the page about the settings, an installed tree that other people's builds find,
# and the list of messages.
add_test(NAME tree/exported_names
         COMMAND ${CMAKE_CURRENT_LIST_DIR}/exported_names.sh $<TARGET_FILE:tessarune>)
add_test(NAME tree/exported_names_of_the_recorder
         COMMAND ${CMAKE_CURRENT_LIST_DIR}/exported_names.sh $<TARGET_FILE:tessarune_recorder>)
if(NOT TESSARUNE_SANITIZE)
    add_test(NAME tree/loaded_with COMMAND ${CMAKE_CURRENT_LIST_DIR}/loaded_with.sh $<TARGET_FILE:tessarune>
             ${PROJECT_SOURCE_DIR}/docs/user-guide.md)
endif()
add_test(NAME tree/settings_page COMMAND ${CMAKE_CURRENT_LIST_DIR}/settings_page.sh
         $<TARGET_FILE:tessarune_config_tool> ${PROJECT_SOURCE_DIR}/docs/settings.md)
add_test(NAME tree/installed_package
         COMMAND ${CMAKE_CURRENT_LIST_DIR}/installed_package.sh ${PROJECT_BINARY_DIR} "${TESSARUNE_SANITIZE}")
add_test(NAME tree/messages
         COMMAND ${CMAKE_CURRENT_LIST_DIR}/messages.pl ${PROJECT_SOURCE_DIR})
