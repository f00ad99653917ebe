#include "audio/AudioChunks.h"
#include "audio/WaveFileWriter.h"
#include "transcription/PartCache.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <memory>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;

namespace {

// The longest recording the service takes: 3,610 seconds, 115,520,044 bytes,
// written once per run and shared by the cases below.
const QString& hourRecording() {
    static std::unique_ptr<QTemporaryDir> dir;
    static QString path;
    if (path.isEmpty()) {
        dir = std::make_unique<QTemporaryDir>();
        path = dir->filePath(u"hour.wav"_s);
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly))
            return path;
        file.write(WaveFileWriter::header(AudioChunks::largestDataBytes));
        QByteArray second(WaveFileWriter::bytesPerSecond, '\0');
        for (int s = 0; s < 3610; ++s) {
            for (int i = 0; i < second.size(); ++i)
                second[i] = char((s * 31 + i * 7) & 0xff);
            file.write(second);
        }
    }
    return path;
}

// What the service does before sending anything: cut into 61 parts, hash each.
void BM_CutAndHashHour(benchmark::State& state) {
    const QString path = hourRecording();
    for (auto _ : state) {
        auto prepared = AudioChunks::prepareWave(path);
        if (!prepared) {
            state.SkipWithError("could not cut the recording");
            return;
        }
        for (const AudioPart& part : prepared->parts)
            benchmark::DoNotOptimize(PartCache::digest(part.path));
        AudioChunks::removeTemporaryFiles(*prepared);
    }
    state.SetBytesProcessed(state.iterations() * AudioChunks::largestWaveBytes);
}
BENCHMARK(BM_CutAndHashHour)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_CutHour(benchmark::State& state) {
    const QString path = hourRecording();
    for (auto _ : state) {
        auto prepared = AudioChunks::prepareWave(path);
        if (!prepared) {
            state.SkipWithError("could not cut the recording");
            return;
        }
        state.PauseTiming();
        AudioChunks::removeTemporaryFiles(*prepared);
        state.ResumeTiming();
    }
    state.SetBytesProcessed(state.iterations() * AudioChunks::largestWaveBytes);
}
BENCHMARK(BM_CutHour)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_HashHour(benchmark::State& state) {
    const QString path = hourRecording();
    for (auto _ : state)
        benchmark::DoNotOptimize(PartCache::digest(path));
    state.SetBytesProcessed(state.iterations() * AudioChunks::largestWaveBytes);
}
BENCHMARK(BM_HashHour)->Unit(benchmark::kMillisecond)->UseRealTime();

// The reference: the system's sha256sum on the same file, process start included.
void BM_Sha256sumHour(benchmark::State& state) {
    const QString path = hourRecording();
    for (auto _ : state) {
        QProcess process;
        process.start(u"sha256sum"_s, {path});
        if (!process.waitForFinished(-1) || process.exitCode() != 0) {
            state.SkipWithError("sha256sum failed");
            return;
        }
        benchmark::DoNotOptimize(process.readAllStandardOutput());
    }
    state.SetBytesProcessed(state.iterations() * AudioChunks::largestWaveBytes);
}
BENCHMARK(BM_Sha256sumHour)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
