# The wlroots virtual keyboard and the data-control clipboard on a headless
# sway, with a GTK field read back through AT-SPI.
if(TARGET parlevo AND TARGET quendra_platform_linux)
    add_executable(wayland_probe ${CMAKE_CURRENT_SOURCE_DIR}/tools/wayland_probe.cpp)
    target_link_libraries(wayland_probe PRIVATE quendra_platform_linux Qt6::Gui)
    foreach(name paste clipboard)
        add_test(NAME integration.wayland_${name}
                 COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/integration/wayland/${name}.sh
                         $<TARGET_FILE:wayland_probe>)
        set_tests_properties(integration.wayland_${name} PROPERTIES
                             LABELS "integration;wayland" TIMEOUT 90)
    endforeach()
endif()
