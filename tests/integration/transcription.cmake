# The offline engine on real recorded speech, through the command line.
if(TARGET parlevo AND TARGET parlevo-sphinx-worker)
    add_test(NAME integration.transcription_offline
             COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/integration/transcription.sh
                     $<TARGET_FILE:parlevo> ${quendra_offline_wer_bound})
    set_tests_properties(integration.transcription_offline PROPERTIES
                         LABELS integration TIMEOUT 600)
endif()

# Ctrl+C and SIGTERM during a long transcription leave nothing behind.
if(TARGET parlevo AND TARGET parlevo-sphinx-worker)
    add_test(NAME integration.transcribe_interrupt
             COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/integration/transcribe_interrupt.sh
                     $<TARGET_FILE:parlevo>)
    set_tests_properties(integration.transcribe_interrupt PROPERTIES LABELS integration
                                                                     TIMEOUT 600)
endif()
