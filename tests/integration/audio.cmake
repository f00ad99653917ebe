# Live audio tests: each case runs against a fresh private PulseAudio.
if(TARGET quendra_platform_linux AND TARGET quendra_notes AND TARGET parlevo)
    add_executable(test_audio_live integration/audio/AudioLiveTest.cpp
                   integration/audio/SpeechAnalysis.cpp integration/audio/SpeechAnalysis.h)
    target_include_directories(test_audio_live PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
    target_link_libraries(test_audio_live PRIVATE quendra_notes quendra_audio quendra_platform_linux
                          GTest::gtest GTest::gtest_main)
    set(audio_live_cases
        DictationRecordsTheSpeechThatWasPlayed
        CallRecordsBothSourcesWithTheComputerAudioApart
        UnpluggedMicrophoneIsReportedOnceAndLeavesValidFiles
        LostMicrophoneFollowsTheNewDefaultInput
        CallUsesAnEchoCancelledInputOnlyWhereTheSystemOffersOne
        KilledServerIsReportedOnceAndLeavesValidFiles
        InterruptedCommandLineRecordersFinishCleanly
        SigkilledRecordingsRepairLosingAtMostOneSecond)
    foreach(case IN LISTS audio_live_cases)
        add_test(NAME integration.audio.${case}
                 COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/integration/audio_live.sh
                         $<TARGET_FILE:test_audio_live> AudioLiveTest.${case} $<TARGET_FILE:parlevo>)
        set_tests_properties(integration.audio.${case} PROPERTIES LABELS "integration;audio" RUN_SERIAL ON
                             TIMEOUT 60)
    endforeach()
endif()
