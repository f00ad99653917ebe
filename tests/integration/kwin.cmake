# KDE's ways on Wayland, against a headless KWin with xdg-desktop-portal and
# its KDE backend (about 200 MB of packages): global shortcuts through the
# portal and kglobalaccel, and paste through the portal's remote keyboard.
# Run them with: ctest -L kwin
if(TARGET quendra_platform_linux)
    add_executable(portal_probe ${CMAKE_CURRENT_SOURCE_DIR}/tools/portal_probe.cpp)
    target_link_libraries(portal_probe PRIVATE quendra_platform_linux Qt6::Core)
    foreach(name portal_shortcuts kglobalaccel_shortcuts portal_paste)
        add_test(NAME integration.kwin_${name}
                 COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/integration/kwin/${name}.sh
                         $<TARGET_FILE:portal_probe>)
        set_tests_properties(integration.kwin_${name} PROPERTIES
                             LABELS "integration;wayland;kwin" TIMEOUT 180)
    endforeach()
endif()
