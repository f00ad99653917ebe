# The desktop portal's global shortcuts and remote keyboard, and kglobalaccel,
# driven through portal_probe.
if(TARGET quendra_platform_linux)
    add_executable(portal_probe ${CMAKE_CURRENT_SOURCE_DIR}/tools/portal_probe.cpp)
    target_link_libraries(portal_probe PRIVATE quendra_platform_linux Qt6::Core)

    # Against a stand-in portal that works as the interface describes (as
    # GNOME's does), on a private session bus: quick, no desktop needed.
    add_test(NAME integration.portal_shortcuts_by_the_interface
             COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/integration/portal/shortcuts_by_the_interface.sh
                     $<TARGET_FILE:portal_probe>)
    add_test(NAME integration.portal_shortcuts_by_the_interface_own_paths
             COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/integration/portal/shortcuts_by_the_interface.sh
                     $<TARGET_FILE:portal_probe> --own-paths)
    set_tests_properties(integration.portal_shortcuts_by_the_interface
                         integration.portal_shortcuts_by_the_interface_own_paths
                         PROPERTIES LABELS "integration;wayland" TIMEOUT 120)

    # KDE's ways, against a headless KWin with xdg-desktop-portal and its KDE
    # backend (tests/harness/wayland.sh); `ctest --preset no-kwin` leaves them out.
    foreach(name portal_shortcuts kglobalaccel_shortcuts portal_paste)
        add_test(NAME integration.kwin_${name}
                 COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/integration/kwin/${name}.sh
                         $<TARGET_FILE:portal_probe>)
        set_tests_properties(integration.kwin_${name} PROPERTIES
                             LABELS "integration;wayland;kwin" TIMEOUT 180)
    endforeach()
endif()
