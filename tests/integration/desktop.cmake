# Desktop integration: each script starts its own private X server, window
# manager, accessibility bus and GTK targets (tests/harness/desktop.sh).
if(TARGET parlevo AND TARGET quendra_platform_linux)
    add_executable(desktop_probe ${CMAKE_CURRENT_SOURCE_DIR}/tools/desktop_probe.cpp)
    target_link_libraries(desktop_probe PRIVATE quendra_platform_linux quendra_session
                          quendra_insertion quendra_model Qt6::Gui)
    foreach(name target_watch insert clipboard fallback hotkey doctor)
        add_test(NAME integration.desktop_${name}
                 COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/integration/desktop/${name}.sh
                         $<TARGET_FILE:parlevo> $<TARGET_FILE:desktop_probe>)
        set_tests_properties(integration.desktop_${name} PROPERTIES
                             LABELS "integration;desktop" TIMEOUT 90)
    endforeach()
endif()

# The dictation's floating panels beside a real GTK field; the screenshots of
# each panel are left in test-output/desktop_panels for review.
if(TARGET quendra_panels AND TARGET quendra_platform_linux)
    add_executable(panels_probe ${CMAKE_CURRENT_SOURCE_DIR}/tools/panels_probe.cpp)
    target_link_libraries(panels_probe PRIVATE quendra_panels quendra_platform_linux
                          quendra_insertion Qt6::Gui Qt6::Quick)
    set(panels_output ${CMAKE_BINARY_DIR}/test-output/desktop_panels)
    add_test(NAME integration.desktop_panels
             COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/integration/desktop/panels.sh
                     $<TARGET_FILE:panels_probe> ${panels_output})
    set_tests_properties(integration.desktop_panels PROPERTIES
                         LABELS "integration;desktop" TIMEOUT 120)
endif()
