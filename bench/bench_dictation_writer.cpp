#include "audio/DictationPCMWriter.h"
#include "support/CoreApplication.h"

#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;

namespace {

// One minute of dictation delivered in 50 ms blocks, as the PulseAudio source
// hands them over, through conversion, level, speech count and the
// once-a-second checkpoints (with their sync and free-space query).
void BM_DictationWriterOneMinute(benchmark::State& state) {
    constexpr int blockSamples = 800;
    constexpr int blocks = 60 * 20;
    std::vector<float> block(blockSamples);
    for (int i = 0; i < blockSamples; ++i)
        block[std::size_t(i)] = 0.3f * float(std::sin(i * 0.05));
    ensureCoreApplication(); // the writer's queue runs a Qt event loop
    QTemporaryDir dir;
    for (auto _ : state) {
        auto writer = DictationPCMWriter::create(dir.filePath(u"bench.wav"_s));
        if (!writer) {
            state.SkipWithError("cannot create the file");
            break;
        }
        for (int i = 0; i < blocks; ++i)
            (*writer)->append(block);
        benchmark::DoNotOptimize((*writer)->snapshot());
        (*writer)->stop();
    }
    state.counters["audio_s_per_s"] =
        benchmark::Counter(60.0 * double(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_DictationWriterOneMinute)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
