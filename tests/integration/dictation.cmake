# Dictation end to end with the installed application on a private desktop
# and sound server (tests/harness/app.sh).
if(TARGET parlevo AND TARGET parlevo-sphinx-worker AND TARGET quendra_platform_linux)
    foreach(name dictation_app dictation_faults main_window)
        if(EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/integration/desktop/${name}.sh)
            add_test(NAME integration.desktop_${name}
                     COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/integration/desktop/${name}.sh
                             ${CMAKE_BINARY_DIR} ${quendra_offline_wer_bound})
            # The offline engine on two shared cores, after an install.
            set_tests_properties(integration.desktop_${name} PROPERTIES
                                 LABELS "integration;desktop;dictation" TIMEOUT 900 RUN_SERIAL ON)
        endif()
    endforeach()
endif()

# A call recorded, processed, asked about and resumed after a kill, on the
# installed application with the hosted stand-in.
if(TARGET parlevo AND TARGET parlevo-sphinx-worker AND TARGET quendra_platform_linux)
    add_test(NAME integration.desktop_notes_call
             COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/integration/desktop/notes_call.sh
                     ${CMAKE_BINARY_DIR} ${CMAKE_CURRENT_SOURCE_DIR}/fixtures/hosted_standin.py)
    set_tests_properties(integration.desktop_notes_call PROPERTIES
                         LABELS "integration;desktop;notes" TIMEOUT 900 RUN_SERIAL ON)
endif()
