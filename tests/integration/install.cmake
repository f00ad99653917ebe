# The installed copy, moved away from its build and source trees, transcribes
# and finishes text on its own.
if(TARGET parlevo AND TARGET parlevo-sphinx-worker)
    add_test(NAME integration.installed_copy
             COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/integration/installed_copy.sh
                     ${CMAKE_BINARY_DIR} ${CMAKE_SOURCE_DIR} ${quendra_offline_wer_bound})
    set_tests_properties(integration.installed_copy PROPERTIES LABELS integration TIMEOUT 600)
endif()
