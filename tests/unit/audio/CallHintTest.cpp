#include "audio/CallHint.h"
#include "audio/NoteCaptureError.h"

#include "support/TestSupport.h"

#include <gtest/gtest.h>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;

TEST(CallHint, namesTheFirstKnownApplicationByCaseInsensitivePrefix) {
    const QList<std::pair<QString, QString>> known{
        {u"us.zoom.xos"_s, u"Zoom"_s},
        {u"COM.APPLE.FACETIME"_s, u"FaceTime"_s},
        {u"com.tinyspeck.slackmacgap.helper"_s, u"Slack"_s},
        // Linux names: Flathub ids and native process names.
        {u"com.discordapp.Discord"_s, u"Discord"_s},
        {u"zoom"_s, u"Zoom"_s},
        {u"skypeforlinux"_s, u"Skype"_s},
    };
    for (const auto& [identifier, name] : known)
        EXPECT_EQ(CallHint::appNameFor(identifier), name) << identifier.toStdString();

    // The dot of "us.zoom." is part of the prefix; a process name must match whole.
    for (const QString& unknown :
         {u"us.zoomer"_s, u"zoomer"_s, u"org.mozilla.firefox"_s, u"com.apple.Music"_s, u""_s})
        EXPECT_EQ(CallHint::appNameFor(unknown), std::nullopt) << unknown.toStdString();

    const auto hint =
        CallHint::from({u"org.mozilla.firefox"_s, u"com.skype.skype"_s, u"us.zoom.xos"_s}, false);
    EXPECT_EQ(hint.appName, u"Skype"_s);
    EXPECT_TRUE(hint.likelyCall());
    EXPECT_FALSE(hint.microphoneInUse);
}

TEST(CallHint, aCallIsLikelyWithAnyAudioApplicationOrTheMicrophone) {
    EXPECT_FALSE(CallHint::from({}, false).likelyCall());

    const auto microphoneOnly = CallHint::from({}, true);
    EXPECT_TRUE(microphoneOnly.likelyCall());
    EXPECT_EQ(microphoneOnly.appName, std::nullopt);

    const auto unknownApp = CallHint::from({u"org.videolan.vlc"_s}, false);
    EXPECT_TRUE(unknownApp.likelyCall());
    EXPECT_EQ(unknownApp.appName, std::nullopt);
}

TEST(NoteCaptureError, sentencesAndTheOneGigabyteRule) {
    for (auto error : {NoteCaptureError::microphoneUnavailable,
                       NoteCaptureError::systemAudioUnavailable, NoteCaptureError::diskFull})
        EXPECT_TRUE(message(error).endsWith(u'.')) << message(error).toStdString();
    EXPECT_TRUE(message(NoteCaptureError::diskFull).contains(u"1 GB"_s));

    EXPECT_EQ(checkFreeSpace(999'999'999), std::unexpected(NoteCaptureError::diskFull));
    EXPECT_EQ(checkFreeSpace(0), std::unexpected(NoteCaptureError::diskFull));
    EXPECT_TRUE(checkFreeSpace(1'000'000'000).has_value());
    EXPECT_TRUE(checkFreeSpace(500'000'000'000).has_value());
}
