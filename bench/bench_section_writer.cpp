#include "audio/SectionWriter.h"

#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <random>
#include <vector>

using namespace quendra;

namespace {

// One hour of a call: both sources deliver 20-ms blocks alternately, as the
// capture threads do, into a real folder (with its once-a-second syncs).
void BM_SectionWriterOneHourCall(benchmark::State& state) {
    constexpr std::size_t rate = 16000;
    constexpr std::size_t block = 320;
    constexpr qint64 audioSeconds = 3600;
    std::mt19937 random(7);
    std::uniform_real_distribution<float> amplitude(-0.5f, 0.5f);
    std::vector<float> microphone(rate);
    std::vector<float> system(rate);
    for (std::size_t i = 0; i < rate; ++i) {
        microphone[i] = amplitude(random);
        system[i] = amplitude(random);
    }

    for (auto _ : state) {
        state.PauseTiming();
        QTemporaryDir dir;
        state.ResumeTiming();
        SectionWriter writer(dir.path(), true);
        if (!writer.start()) {
            state.SkipWithError("could not open the first section");
            return;
        }
        for (qint64 second = 0; second < audioSeconds; ++second) {
            for (std::size_t offset = 0; offset < rate; offset += block) {
                writer.appendMicrophone(std::span(microphone).subspan(offset, block));
                writer.appendSystem(std::span(system).subspan(offset, block));
            }
            // Live capture delivers in real time; the hand-over list stays short.
            writer.settle();
        }
        benchmark::DoNotOptimize(writer.close());
    }
    state.counters["realtime_multiple"] =
        benchmark::Counter(double(audioSeconds * state.iterations()), benchmark::Counter::kIsRate);
}

// What a sound server's callback pays per 20-ms block: the copy and the
// hand-over, never the writing (which the writer's thread does meanwhile).
void BM_SectionWriterCallback(benchmark::State& state) {
    std::vector<float> block(320, 0.25f);
    QTemporaryDir dir;
    SectionWriter writer(dir.path(), false);
    if (!writer.start()) {
        state.SkipWithError("could not open the first section");
        return;
    }
    qint64 blocks = 0;
    for (auto _ : state) {
        writer.appendMicrophone(block);
        // Settling outside the timing keeps the list as short as live capture does.
        if (++blocks % 50 == 0) {
            state.PauseTiming();
            writer.settle();
            state.ResumeTiming();
        }
    }
    writer.close();
}

} // namespace

BENCHMARK(BM_SectionWriterCallback)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_SectionWriterOneHourCall)->Unit(benchmark::kSecond)->UseRealTime()->Iterations(1);
