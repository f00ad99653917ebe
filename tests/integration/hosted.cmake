# The hosted client, credentials and account commands against real pieces: a
# gnome-keyring on a private bus and the HTTPS stand-in of the service.
if(TARGET quendra_platform_linux AND TARGET quendra_hosted)
    add_executable(test_keyring ${CMAKE_CURRENT_SOURCE_DIR}/integration/keyring/SecretServiceBackendTest.cpp)
    target_link_libraries(test_keyring PRIVATE quendra_platform_linux quendra_hosted Qt6::DBus
                                               GTest::gtest)
    add_test(NAME integration.keyring
             COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/harness/keyring.sh $<TARGET_FILE:test_keyring>)
    set_tests_properties(integration.keyring PROPERTIES LABELS "integration;hosted" TIMEOUT 60)
endif()

if(TARGET parlevo)
    add_test(NAME integration.account_cli
             COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/integration/account_cli.sh $<TARGET_FILE:parlevo>
                     ${CMAKE_CURRENT_SOURCE_DIR}/fixtures/hosted_standin.py)
    set_tests_properties(integration.account_cli PROPERTIES LABELS "integration;hosted" TIMEOUT 90)
endif()

if(TARGET parlevo)
    add_test(NAME integration.transcribe_cloud
             COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/integration/transcribe_cloud.sh
                     $<TARGET_FILE:parlevo> ${CMAKE_CURRENT_SOURCE_DIR}/fixtures/hosted_standin.py)
    set_tests_properties(integration.transcribe_cloud PROPERTIES LABELS "integration;hosted"
                                                                 TIMEOUT 90)
endif()
