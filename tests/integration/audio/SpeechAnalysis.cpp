#include "SpeechAnalysis.h"

#include <QFile>
#include <QtEndian>

#include <algorithm>
#include <cmath>

namespace quendra::speech {

std::optional<std::vector<double>> readWave(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    const QByteArray bytes = file.readAll();
    if (bytes.size() < 44 || !bytes.startsWith("RIFF") || bytes.mid(8, 8) != "WAVEfmt ")
        return std::nullopt;
    // Find the data chunk (the test clips may carry other chunks).
    qsizetype at = 12;
    while (at + 8 <= bytes.size()) {
        const quint32 size = qFromLittleEndian<quint32>(bytes.constData() + at + 4);
        if (bytes.mid(at, 4) == "data") {
            at += 8;
            const qsizetype count = std::min<qsizetype>(size, bytes.size() - at) / 2;
            std::vector<double> samples(static_cast<std::size_t>(count));
            for (qsizetype i = 0; i < count; ++i)
                samples[std::size_t(i)] =
                    qFromLittleEndian<qint16>(bytes.constData() + at + 2 * i) / 32768.0;
            return samples;
        }
        at += 8 + size + (size & 1);
    }
    return std::nullopt;
}

bool headerMatchesFile(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QByteArray header = file.read(44);
    if (header.size() < 44)
        return false;
    const quint32 riff = qFromLittleEndian<quint32>(header.constData() + 4);
    const quint32 data = qFromLittleEndian<quint32>(header.constData() + 40);
    return data == quint32(file.size() - 44) && riff == data + 36 && data % 2 == 0;
}

std::vector<double> envelope(const std::vector<double>& samples, int frameSamples) {
    std::vector<double> frames;
    for (std::size_t at = 0; at + std::size_t(frameSamples) <= samples.size();
         at += std::size_t(frameSamples)) {
        double sum = 0;
        for (int i = 0; i < frameSamples; ++i)
            sum += samples[at + std::size_t(i)] * samples[at + std::size_t(i)];
        frames.push_back(std::sqrt(sum / frameSamples));
    }
    return frames;
}

std::pair<std::vector<double>, std::vector<double>> noteEnvelope(const QString& path) {
    QFile file(path);
    std::pair<std::vector<double>, std::vector<double>> channels;
    if (!file.open(QIODevice::ReadOnly))
        return channels;
    const QByteArray bytes = file.readAll();
    for (qsizetype at = 0; at + 4 <= bytes.size(); at += 4) {
        channels.first.push_back(qFromLittleEndian<quint16>(bytes.constData() + at) / 65535.0);
        channels.second.push_back(qFromLittleEndian<quint16>(bytes.constData() + at + 2) / 65535.0);
    }
    return channels;
}

namespace {

double pearson(const double* a, const double* b, std::size_t n) {
    double ma = 0, mb = 0;
    for (std::size_t i = 0; i < n; ++i) {
        ma += a[i];
        mb += b[i];
    }
    ma /= double(n);
    mb /= double(n);
    double ab = 0, aa = 0, bb = 0;
    for (std::size_t i = 0; i < n; ++i) {
        ab += (a[i] - ma) * (b[i] - mb);
        aa += (a[i] - ma) * (a[i] - ma);
        bb += (b[i] - mb) * (b[i] - mb);
    }
    return aa > 0 && bb > 0 ? ab / std::sqrt(aa * bb) : 0.0;
}

} // namespace

Alignment align(const std::vector<double>& recorded, const std::vector<double>& played) {
    Alignment best{0, -1};
    if (played.empty() || recorded.empty())
        return best;
    // The played clip may run past the end of the recording by a little.
    const std::size_t minimum = played.size() * 9 / 10;
    for (std::size_t lag = 0; lag + minimum <= recorded.size(); ++lag) {
        const std::size_t n = std::min(played.size(), recorded.size() - lag);
        const double c = pearson(recorded.data() + lag, played.data(), n);
        if (c > best.correlation)
            best = {int(lag), c};
    }
    return best;
}

Alignment alignSamples(const std::vector<double>& recorded, const std::vector<double>& played,
                       int frameSamples) {
    const auto playedFrames = envelope(played, frameSamples);
    Alignment best{0, -1};
    for (int offset = 0; offset < frameSamples && std::size_t(offset) < recorded.size();
         offset += 4) {
        const std::vector<double> shifted(recorded.begin() + offset, recorded.end());
        const Alignment fit = align(envelope(shifted, frameSamples), playedFrames);
        if (fit.correlation > best.correlation)
            best = {fit.lag * frameSamples + offset, fit.correlation};
    }
    return best;
}

Alignment alignFrames(const std::vector<double>& recordedFrames, const std::vector<double>& played,
                      int frameSamples) {
    Alignment best{0, -1};
    for (int offset = 0; offset < frameSamples && std::size_t(offset) < played.size();
         offset += 16) {
        const std::vector<double> shifted(played.begin() + offset, played.end());
        const Alignment fit = align(recordedFrames, envelope(shifted, frameSamples));
        if (fit.correlation > best.correlation)
            best = {fit.lag * frameSamples - offset, fit.correlation};
    }
    return best;
}

double correlationAt(const std::vector<double>& recordedFrames, const std::vector<double>& played,
                     int frameSamples, int lagSamples) {
    // The first whole recorded frame that lies inside the played stretch.
    const int firstFrame = std::max(0, (lagSamples + frameSamples - 1) / frameSamples);
    const int offset = firstFrame * frameSamples - lagSamples;
    if (offset < 0 || std::size_t(offset) >= played.size() ||
        std::size_t(firstFrame) >= recordedFrames.size())
        return 0.0;
    const auto frames =
        envelope(std::vector<double>(played.begin() + offset, played.end()), frameSamples);
    const std::size_t n = std::min(frames.size(), recordedFrames.size() - std::size_t(firstFrame));
    return n > 1 ? pearson(recordedFrames.data() + firstFrame, frames.data(), n) : 0.0;
}

int loudSpan(const std::vector<double>& envelope, double fraction) {
    if (envelope.empty())
        return 0;
    const double bar = *std::max_element(envelope.begin(), envelope.end()) * fraction;
    const auto first =
        std::find_if(envelope.begin(), envelope.end(), [bar](double v) { return v > bar; });
    const auto last =
        std::find_if(envelope.rbegin(), envelope.rend(), [bar](double v) { return v > bar; });
    if (first == envelope.end())
        return 0;
    return int(std::distance(first, last.base()));
}

} // namespace quendra::speech
