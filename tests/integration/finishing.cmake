# The finish command on the real binary, in the build tree and installed.
if(TARGET parlevo)
    add_test(NAME integration.cli_finish
             COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/integration/cli_finish.sh $<TARGET_FILE:parlevo>
                     ${CMAKE_BINARY_DIR})
    set_tests_properties(integration.cli_finish PROPERTIES LABELS integration TIMEOUT 120)
endif()
