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
