# The stores through the installed command line, against faults and many
# processes at once.
if(TARGET parlevo)
    add_test(NAME integration.store_faults
             COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/integration/store_faults.sh $<TARGET_FILE:parlevo>
                     ${CMAKE_BINARY_DIR})
    set_tests_properties(integration.store_faults PROPERTIES LABELS integration TIMEOUT 300)
endif()
# Import and export of the Words and snippets, as a person drives them.
if(TARGET parlevo)
    add_test(NAME integration.words_transfer
             COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/integration/words_transfer.sh $<TARGET_FILE:parlevo>)
    set_tests_properties(integration.words_transfer PROPERTIES LABELS integration TIMEOUT 300)
endif()
