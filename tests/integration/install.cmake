# The installed copy, moved away from its build and source trees, transcribes
# and finishes text on its own.
if(TARGET parlevo AND TARGET parlevo-sphinx-worker)
    add_test(NAME integration.installed_copy
             COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/integration/installed_copy.sh
                     ${CMAKE_BINARY_DIR} ${CMAKE_SOURCE_DIR} ${quendra_offline_wer_bound})
    set_tests_properties(integration.installed_copy PROPERTIES LABELS integration TIMEOUT 600)
endif()

# What the installation gives the desktop: the entry, metadata, icons (the
# tray's from the theme, by the panels probe) and the manual page.
if(TARGET parlevo AND TARGET panels_probe)
    add_test(NAME integration.installed_files
             COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/integration/installed_files.sh
                     ${CMAKE_BINARY_DIR} $<TARGET_FILE:panels_probe>)
    set_tests_properties(integration.installed_files PROPERTIES LABELS integration TIMEOUT 120)
endif()

# scripts/uninstall takes away what scripts/install put there, and only that.
if(TARGET parlevo)
    add_test(NAME integration.uninstall
             COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/integration/uninstall.sh
                     ${CMAKE_BINARY_DIR} ${CMAKE_SOURCE_DIR})
    set_tests_properties(integration.uninstall PROPERTIES LABELS integration TIMEOUT 120)
endif()

# "Start at login" turned on in the installed copy's Settings, and the entry it
# writes run as a session start-up runs it (tests/harness/app.sh).
if(TARGET parlevo AND TARGET quendra_platform_linux)
    add_test(NAME integration.desktop_autostart
             COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/integration/desktop/autostart.sh ${CMAKE_BINARY_DIR})
    set_tests_properties(integration.desktop_autostart PROPERTIES
                         LABELS "integration;desktop" TIMEOUT 300)
endif()
