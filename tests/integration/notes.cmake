# The notes commands on the real binary against note folders left damaged,
# changed by many processes at once, holding links or FIFOs, or on a full disk.
if(TARGET parlevo)
    foreach(script concurrent_changes full_disk hostile_folders record_limits)
        add_test(NAME integration.notes_${script}
                 COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/integration/notes/${script}.sh
                         $<TARGET_FILE:parlevo> ${CMAKE_CURRENT_SOURCE_DIR}/fixtures/notes/unreadable)
        set_tests_properties(integration.notes_${script} PROPERTIES LABELS integration TIMEOUT 300
                             ENVIRONMENT PARLEVO_BUILD=${CMAKE_BINARY_DIR})
    endforeach()
endif()

# Every export format of a call made from real speech; the M4A's length is
# checked with ffprobe, a full and a read-only disk on small file systems.
# make_test_note is defined in tests/CMakeLists.txt, after this file is read.
if(TARGET parlevo)
    add_test(NAME integration.notes_export
             COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/integration/notes/export.sh $<TARGET_FILE:parlevo>
                     $<TARGET_FILE:make_test_note>
                     ${CMAKE_CURRENT_SOURCE_DIR}/fixtures/notes/two-voices-call.json)
    set_tests_properties(integration.notes_export PROPERTIES LABELS integration TIMEOUT 300
                         ENVIRONMENT PARLEVO_BUILD=${CMAKE_BINARY_DIR})
endif()
