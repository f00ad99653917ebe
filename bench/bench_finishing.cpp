// The local finishing pass on a 2,000-word dictation: fillers, stutters,
// 50 Words with spoken forms, names in the field's context. Also the check
// of a model's answer of the same length, the cost of the first call, which
// builds the script engine, and dictations of a quarter of an hour to two
// hours (10,000 words is an hour of speech), whose times should grow in
// proportion to their length.

#include "transcription/DictationIntelligence.h"

#include "support/CoreApplication.h"
#include <QStringList>

#include <benchmark/benchmark.h>

#include <random>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int wordCount = 2'000;
constexpr int oneHourWords = 10'000;

QString dictation(int words = wordCount) {
    const QStringList plain =
        (u"we should ship the release on friday and then review the numbers with the team "
         "because the customers asked for a faster sync and fewer crashes on older laptops "
         "so I think the plan works if nobody objects before the meeting"_s)
            .split(u' ');
    const QStringList extras{u"um"_s,      u"uh,"_s,  u"I I"_s,   u"the the"_s,
                             u"w- we"_s,   u"Sara"_s, u"Jon"_s,   u"cube and eighties"_s,
                             u"get hub"_s, u"3.5"_s,  u"1,200"_s, u"okay."_s,
                             u"well,"_s};
    std::mt19937 random(7);
    std::uniform_int_distribution<int> pickPlain(0, int(plain.size()) - 1);
    std::uniform_int_distribution<int> pickExtra(0, int(extras.size()) - 1);
    std::uniform_int_distribution<int> percent(0, 99);
    QStringList said;
    while (said.size() < words) {
        if (percent(random) < 12)
            said << extras[pickExtra(random)];
        else
            said << plain[pickPlain(random)];
        if (percent(random) < 6)
            said.last() += u'.';
    }
    return said.join(u' ');
}

FinishingContext context(DictationStyle style) {
    FinishingContext c;
    c.style = style;
    c.language = DictationLanguage::english;
    c.contextBefore = u"Hi Sarah, thanks for the notes. Jonathan and José will join."_s;
    c.conversationContext = u"Sarah: can we ship Friday?\nJon: the sync fix is in."_s;
    c.replyAssist = true;
    for (int i = 0; i < 48; ++i)
        c.dictionary.append(
            {QUuid::createUuid(), u"Term%1"_s.arg(i), {u"term number %1"_s.arg(i)}});
    c.dictionary.append({QUuid::createUuid(), u"Kubernetes"_s, {u"cube and eighties"_s}});
    c.dictionary.append({QUuid::createUuid(), u"GitHub"_s, {u"get hub"_s}});
    return c;
}

void finishTwoThousandWords(benchmark::State& state) {
    ensureCoreApplication();
    DictationIntelligence intelligence;
    const QString raw = dictation();
    const FinishingContext c = context(DictationStyle(state.range(0)));
    if (!intelligence.finish(raw, c)) {
        state.SkipWithError("the finishing scripts are unavailable");
        return;
    }
    for (auto _ : state)
        benchmark::DoNotOptimize(intelligence.finish(raw, c));
    state.SetLabel(rawValue(c.style).toString().toStdString());
    state.counters["words/s"] =
        benchmark::Counter(double(wordCount), benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(finishTwoThousandWords)
    ->Arg(int(DictationStyle::exact))
    ->Arg(int(DictationStyle::clean))
    ->Arg(int(DictationStyle::polished))
    ->Unit(benchmark::kMillisecond);

// Clean style, words as the argument.
void finishDictationOfLength(benchmark::State& state) {
    ensureCoreApplication();
    DictationIntelligence intelligence;
    const int words = int(state.range(0));
    const QString raw = dictation(words);
    const FinishingContext c = context(DictationStyle::clean);
    if (!intelligence.finish(raw, c)) {
        state.SkipWithError("the finishing scripts are unavailable or the text is too long");
        return;
    }
    for (auto _ : state)
        benchmark::DoNotOptimize(intelligence.finish(raw, c));
    state.SetComplexityN(words);
    state.counters["words/s"] =
        benchmark::Counter(double(words), benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(finishDictationOfLength)
    ->Arg(oneHourWords / 4)
    ->Arg(oneHourWords / 2)
    ->Arg(oneHourWords)
    ->Arg(oneHourWords * 2)
    ->Complexity(benchmark::oN)
    ->Unit(benchmark::kMillisecond);

// A one-hour dictation in each style.
void finishOneHourDictation(benchmark::State& state) {
    ensureCoreApplication();
    DictationIntelligence intelligence;
    const QString raw = dictation(oneHourWords);
    const FinishingContext c = context(DictationStyle(state.range(0)));
    if (!intelligence.finish(raw, c)) {
        state.SkipWithError("the finishing scripts are unavailable or the text is too long");
        return;
    }
    for (auto _ : state)
        benchmark::DoNotOptimize(intelligence.finish(raw, c));
    state.SetLabel(rawValue(c.style).toString().toStdString());
}
BENCHMARK(finishOneHourDictation)
    ->DenseRange(0, int(allCases<DictationStyle>().size()) - 1)
    ->Unit(benchmark::kMillisecond);

void checkCandidateOfTwoThousandWords(benchmark::State& state) {
    ensureCoreApplication();
    DictationIntelligence intelligence;
    const QString raw = dictation();
    const auto finished = intelligence.finish(raw, context(DictationStyle::clean));
    if (!finished) {
        state.SkipWithError("the finishing scripts are unavailable");
        return;
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            intelligence.cleanupIsSafeForMode(raw, finished->transcript, DictationStyle::clean));
        benchmark::DoNotOptimize(
            intelligence.mergeCleanCandidate(raw, finished->transcript, DictationStyle::clean));
    }
}
BENCHMARK(checkCandidateOfTwoThousandWords)->Unit(benchmark::kMillisecond);

void firstCallBuildsTheEngine(benchmark::State& state) {
    ensureCoreApplication();
    const FinishingContext c = context(DictationStyle::clean);
    for (auto _ : state) {
        DictationIntelligence intelligence;
        benchmark::DoNotOptimize(intelligence.finish(u"um maybe tomorrow"_s, c));
    }
}
BENCHMARK(firstCallBuildsTheEngine)->Unit(benchmark::kMillisecond);

} // namespace
