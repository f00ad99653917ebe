// Labelling and grouping the words of a two-hour call: about 20 000 words
// over 144 000 envelope frames of 50 ms.

#include "notes/EnergyEnvelope.h"
#include "notes/SpeakerLabeler.h"
#include "notes/TranscriptAssembler.h"

#include <benchmark/benchmark.h>

#include <random>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qint64 callMs = 2 * 60 * 60 * 1000;
constexpr int wordCount = 20'000;

// Speakers take turns of a few seconds to half a minute, with echo of the
// other side in the microphone and some background noise.
EnergyEnvelope twoHourEnvelope() {
    std::mt19937 random(3);
    std::uniform_real_distribution<float> noise(0.0f, 0.003f);
    std::uniform_real_distribution<float> voice(0.02f, 0.3f);
    std::uniform_int_distribution<int> turnFrames(60, 600);
    EnergyEnvelope envelope;
    const auto frames = static_cast<std::size_t>(callMs / envelope.frameMs);
    envelope.microphone.resize(frames);
    envelope.system.resize(frames);
    bool microphoneTalks = true;
    int left = turnFrames(random);
    for (std::size_t i = 0; i < frames; ++i) {
        if (--left == 0) {
            microphoneTalks = !microphoneTalks;
            left = turnFrames(random);
        }
        const float level = voice(random);
        envelope.system[i] = (microphoneTalks ? 0.0f : level) + noise(random);
        envelope.microphone[i] = (microphoneTalks ? level : 0.3f * level) + noise(random);
    }
    return envelope;
}

QList<TimedWord> twoHourWords() {
    std::mt19937 random(5);
    std::uniform_int_distribution<int> sentence(0, 11);
    QList<TimedWord> words;
    words.reserve(wordCount);
    const qint64 stepMs = callMs / wordCount;
    for (int i = 0; i < wordCount; ++i) {
        const qint64 startMs = i * stepMs;
        words.append(TimedWord{sentence(random) == 0 ? u"done."_s : u"word"_s, startMs,
                               startMs + stepMs * 3 / 4, 0});
    }
    return words;
}

// The same call cut into 30-s sections overlapping by 2 s, as transcribed.
QList<NoteSection> twoHourSections(const QList<TimedWord>& words) {
    QList<NoteSection> sections;
    for (qint64 startMs = 0, index = 0; startMs < callMs; startMs += 28'000, ++index) {
        NoteSection section;
        section.index = int(index);
        section.startMs = startMs;
        section.endMs = std::min(startMs + 30'000, callMs);
        for (const auto& word : words) {
            if (word.startMs >= section.startMs && word.endMs <= section.endMs)
                section.words.append(word);
        }
        section.done = true;
        sections.append(section);
    }
    return sections;
}

const EnergyEnvelope& envelope() {
    static const EnergyEnvelope value = twoHourEnvelope();
    return value;
}

const QList<TimedWord>& words() {
    static const QList<TimedWord> value = twoHourWords();
    return value;
}

} // namespace

static void BM_Calibrate(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(SpeakerLabeler::calibrate(envelope()));
}
BENCHMARK(BM_Calibrate)->Unit(benchmark::kMillisecond);

static void BM_Label(benchmark::State& state) {
    const auto calibration = SpeakerLabeler::calibrate(envelope());
    for (auto _ : state)
        benchmark::DoNotOptimize(SpeakerLabeler::label(words(), envelope(), calibration));
}
BENCHMARK(BM_Label)->Unit(benchmark::kMillisecond);

static void BM_Turns(benchmark::State& state) {
    const auto labels = SpeakerLabeler::label(words(), envelope());
    for (auto _ : state)
        benchmark::DoNotOptimize(TranscriptAssembler::turns(words(), labels));
}
BENCHMARK(BM_Turns)->Unit(benchmark::kMillisecond);

static void BM_CalibrateLabelAndGroup(benchmark::State& state) {
    for (auto _ : state) {
        const auto labels = SpeakerLabeler::label(words(), envelope());
        benchmark::DoNotOptimize(TranscriptAssembler::turns(words(), labels));
    }
}
BENCHMARK(BM_CalibrateLabelAndGroup)->Unit(benchmark::kMillisecond);

static void BM_JoinedWords(benchmark::State& state) {
    const auto sections = twoHourSections(words());
    for (auto _ : state)
        benchmark::DoNotOptimize(TranscriptAssembler::joinedWords(sections));
    state.counters["sections"] = double(sections.size());
}
BENCHMARK(BM_JoinedWords)->Unit(benchmark::kMillisecond);
