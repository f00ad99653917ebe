#include "audio/AudioChunks.h"
#include "audio/WaveFileWriter.h"
#include "transcription/PartCache.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>
#include <openssl/evp.h>

#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <memory>
#include <vector>

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
        benchmark::DoNotOptimize(PartCache::digests(prepared->parts));
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

// The floor: OpenSSL's SHA-256 over the same file, read in large blocks, no
// cutting and no process start.
bool openSslHash(const QString& path) {
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return false;
    EVP_MD_CTX* context = EVP_MD_CTX_new();
    EVP_DigestInit_ex(context, EVP_sha256(), nullptr);
    std::vector<char> block(1 << 20);
    ssize_t got = 0;
    while ((got = ::read(fd, block.data(), block.size())) > 0)
        EVP_DigestUpdate(context, block.data(), size_t(got));
    unsigned char hash[EVP_MAX_MD_SIZE];
    unsigned int hashBytes = 0;
    EVP_DigestFinal_ex(context, hash, &hashBytes);
    benchmark::DoNotOptimize(hash);
    EVP_MD_CTX_free(context);
    ::close(fd);
    return got == 0;
}

void BM_OpenSslHashHour(benchmark::State& state) {
    const QString path = hourRecording();
    for (auto _ : state)
        if (!openSslHash(path)) {
            state.SkipWithError("the recording could not be read");
            return;
        }
    state.SetBytesProcessed(state.iterations() * AudioChunks::largestWaveBytes);
}
BENCHMARK(BM_OpenSslHashHour)->Unit(benchmark::kMillisecond)->UseRealTime();

// Both in one run, turn about, so that a machine that slows down slows both:
// "ratio" is our cutting and hashing over OpenSSL hashing the whole file.
// The goal is a ratio of 2 or less.
void BM_CutAndHashHourAgainstOpenSsl(benchmark::State& state) {
    using Clock = std::chrono::steady_clock;
    const QString path = hourRecording();
    Clock::duration ours{};
    Clock::duration openSsl{};
    for (auto _ : state) {
        const auto start = Clock::now();
        auto prepared = AudioChunks::prepareWave(path);
        if (!prepared) {
            state.SkipWithError("could not cut the recording");
            return;
        }
        benchmark::DoNotOptimize(PartCache::digests(prepared->parts));
        const auto cutAndHashed = Clock::now();
        state.PauseTiming();
        AudioChunks::removeTemporaryFiles(*prepared);
        state.ResumeTiming();
        const auto hashStart = Clock::now();
        if (!openSslHash(path)) {
            state.SkipWithError("the recording could not be read");
            return;
        }
        openSsl += Clock::now() - hashStart;
        ours += cutAndHashed - start;
    }
    const auto milliseconds = [&state](Clock::duration d) {
        return std::chrono::duration<double, std::milli>(d).count() / double(state.iterations());
    };
    state.counters["ours_ms"] = milliseconds(ours);
    state.counters["openssl_ms"] = milliseconds(openSsl);
    state.counters["ratio"] = milliseconds(ours) / milliseconds(openSsl);
}
BENCHMARK(BM_CutAndHashHourAgainstOpenSsl)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
