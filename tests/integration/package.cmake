# The Debian package, built with CPack from this build folder and checked:
# its contents against an installation, the program and the offline engine
# run from it unpacked, lintian. Slow (it strips and compresses the
# programs), so these carry the label "package", which the "dev" test preset
# leaves out: ctest --preset package.
if(TARGET parlevo AND TARGET parlevo-sphinx-worker)
    set(package_tests ${CMAKE_CURRENT_SOURCE_DIR}/integration/package)
    add_test(NAME package.build COMMAND ${package_tests}/build.sh ${CMAKE_BINARY_DIR})
    add_test(NAME package.contents
             COMMAND ${package_tests}/contents.sh ${CMAKE_BINARY_DIR} ${CMAKE_SOURCE_DIR})
    add_test(NAME package.unpacked
             COMMAND ${package_tests}/unpacked.sh ${CMAKE_BINARY_DIR} ${quendra_offline_wer_bound})
    add_test(NAME package.lintian COMMAND ${package_tests}/lintian.sh ${CMAKE_BINARY_DIR})
    set_tests_properties(package.build PROPERTIES LABELS package TIMEOUT 900
                                                  FIXTURES_SETUP debian_package)
    set_tests_properties(package.contents package.unpacked package.lintian PROPERTIES
                         LABELS package TIMEOUT 600 FIXTURES_REQUIRED debian_package)
endif()
