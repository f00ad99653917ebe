# The command line against input it cannot take and disks that take no more.
if(TARGET parlevo AND TARGET parlevo-sphinx-worker)
    add_test(NAME integration.cli_bad_input
             COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/integration/cli_bad_input.sh
                     $<TARGET_FILE:parlevo>)
    set_tests_properties(integration.cli_bad_input PROPERTIES LABELS integration TIMEOUT 300)

    # A private PulseAudio for the recorder, so one at a time like the audio tests.
    add_test(NAME integration.cli_full_disk
             COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/integration/cli_full_disk.sh
                     $<TARGET_FILE:parlevo>)
    set_tests_properties(integration.cli_full_disk PROPERTIES LABELS "integration;audio"
                                                              RUN_SERIAL ON TIMEOUT 300)
endif()
