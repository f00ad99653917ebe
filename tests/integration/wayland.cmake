# Wayland: each script starts its own headless compositor in a private runtime
# folder (tests/harness/wayland.sh). KWin with the portals is a large install,
# so its cases carry the label kwin as well: `ctest --preset no-kwin` leaves
# them out (CMake 3.25 ignores -LE given beside a preset that filters). The
# sway screenshot is left in test-output/wayland_harness.
add_test(NAME integration.wayland_harness_sway
         COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/integration/desktop/wayland_harness.sh sway
                 ${CMAKE_BINARY_DIR}/test-output/wayland_harness)
set_tests_properties(integration.wayland_harness_sway PROPERTIES
                     LABELS "integration;wayland" TIMEOUT 120)
add_test(NAME integration.wayland_harness_kwin
         COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/integration/desktop/wayland_harness.sh kwin)
set_tests_properties(integration.wayland_harness_kwin PROPERTIES
                     LABELS "integration;wayland;kwin" TIMEOUT 120)

# Insertion as a dictation writes, on each compositor.
if(TARGET parlevo)
    foreach(compositor sway kwin)
        add_test(NAME integration.wayland_insert_${compositor}
                 COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/integration/desktop/wayland_insert.sh
                         ${compositor} $<TARGET_FILE:parlevo>)
    endforeach()
    set_tests_properties(integration.wayland_insert_sway PROPERTIES
                         LABELS "integration;wayland" TIMEOUT 120)
    set_tests_properties(integration.wayland_insert_kwin PROPERTIES
                         LABELS "integration;wayland;kwin" TIMEOUT 120)
endif()

# A whole dictation with the installed application, toggled by a key the
# desktop knows: on sway the binding the doctor adds, on KWin the shortcut
# the application asked of the portal.
if(TARGET parlevo AND TARGET parlevo-sphinx-worker)
    foreach(compositor sway kwin)
        add_test(NAME integration.wayland_dictation_${compositor}
                 COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/integration/desktop/wayland_dictation.sh
                         ${compositor} ${CMAKE_BINARY_DIR}
                         ${CMAKE_BINARY_DIR}/test-output/wayland_dictation)
    endforeach()
    set_tests_properties(integration.wayland_dictation_sway PROPERTIES
                         LABELS "integration;wayland;dictation" TIMEOUT 600 RUN_SERIAL ON)
    set_tests_properties(integration.wayland_dictation_kwin PROPERTIES
                         LABELS "integration;wayland;kwin;dictation" TIMEOUT 600 RUN_SERIAL ON)
endif()
