#pragma once

// Test aid: a recorded two-sided call. Its words come from a fixture; its
// sections are cut by SectionWriter from tone bursts, the microphone's while
// the computer is silent and the computer's (with its echo in the
// microphone) in turn.

#include "audio/SectionWriter.h"
#include "model/Json.h"
#include "model/TranscriptionResult.h"

#include <QFile>

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <vector>

namespace quendra::recorded {

inline constexpr int callSeconds = 65;

// A two-sided conversation: the speaker changes every `burstMs`, starting
// with the microphone; whole words lie inside the bursts.
struct Conversation {
    qint64 burstMs = 0;
    QList<TimedWord> words;

    bool microphoneSpeaksAt(qint64 ms) const { return (ms / burstMs) % 2 == 0; }
};

inline Conversation loadConversation() {
    const QString path = QStringLiteral(QUENDRA_FIXTURES "/notes/call-words.json");
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
    const auto json = parseJson(file.readAll());
    EXPECT_TRUE(json.has_value());
    Conversation conversation;
    if (!json)
        return conversation;
    conversation.burstMs = json->at("burstMs").get<qint64>();
    conversation.words = json->at("words").get<QList<TimedWord>>();
    return conversation;
}

// Tone bursts: the microphone speaks while the computer is silent, then the
// other side speaks and the microphone hears nearly all of it as echo.
inline void recordCall(const QString& directory, const Conversation& conversation, bool withSystem,
                       QList<SectionWriter::Section>& sections) {
    const std::size_t samples = std::size_t(callSeconds) * 16'000;
    std::vector<float> microphone(samples);
    std::vector<float> system(withSystem ? samples : 0);
    for (std::size_t i = 0; i < samples; ++i) {
        const double t = double(i) / 16'000.0;
        const double tone = 0.3 * std::sin(2 * std::numbers::pi * 180 * t);
        if (conversation.microphoneSpeaksAt(qint64(i) / 16)) {
            microphone[i] = float(tone);
        } else if (withSystem) {
            system[i] = float(tone);
            microphone[i] = float(0.9 * tone);
        }
    }
    auto recorded = SectionWriter::record(directory, microphone, system);
    ASSERT_TRUE(recorded.has_value()) << recorded.error().toStdString();
    sections = *recorded;
}

} // namespace quendra::recorded
