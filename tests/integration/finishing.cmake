# The finish command on the real binary, in the build tree and installed.
if(TARGET parlevo)
    add_test(NAME integration.cli_finish
             COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/integration/cli_finish.sh $<TARGET_FILE:parlevo>
                     ${CMAKE_BINARY_DIR})
    set_tests_properties(integration.cli_finish PROPERTIES LABELS integration TIMEOUT 120)
endif()

# Text of any length: long dictations finish, longer text is refused, nothing crashes.
if(TARGET parlevo)
    add_test(NAME integration.cli_finish_limits
             COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/integration/cli_finish_limits.sh
                     $<TARGET_FILE:parlevo> ${CMAKE_CURRENT_SOURCE_DIR}/fixtures/finishing)
    set_tests_properties(integration.cli_finish_limits PROPERTIES LABELS integration TIMEOUT 300)
endif()
