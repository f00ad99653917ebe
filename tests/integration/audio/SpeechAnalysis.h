#pragma once

// Compares what was recorded with what was played, through loudness envelopes.

#include <QString>

#include <optional>
#include <vector>

namespace quendra::speech {

// Samples in -1..1 of a 16-bit mono WAV file; none when it is not one.
std::optional<std::vector<double>> readWave(const QString& path);
// Whether the header's sizes match the bytes on disk.
bool headerMatchesFile(const QString& path);
// RMS of consecutive frames of `frameSamples`.
std::vector<double> envelope(const std::vector<double>& samples, int frameSamples);
// The envelope channels of a note section file (microphone, system), 0..1.
std::pair<std::vector<double>, std::vector<double>> noteEnvelope(const QString& path);

struct Alignment {
    int lag = 0; // frames of `recorded` before the start of `played`
    double correlation = 0;
};
// The lag at which `played` fits best into `recorded`, and the Pearson
// correlation there.
Alignment align(const std::vector<double>& recorded, const std::vector<double>& played);
// As align(), over envelopes of `frameSamples` taken from every offset of
// the recording (in steps of 4 samples), so that the frames of both line up;
// `lag` is in samples.
Alignment alignSamples(const std::vector<double>& recorded, const std::vector<double>& played,
                       int frameSamples);
// As align(), for an envelope that was recorded in frames of `frameSamples`
// against the played samples, trying every start of the played frames (in
// steps of 16 samples); `lag` is in samples.
Alignment alignFrames(const std::vector<double>& recordedFrames, const std::vector<double>& played,
                      int frameSamples);
// The correlation of the recorded frames with `played` started at sample
// `lagSamples` of the recording.
double correlationAt(const std::vector<double>& recordedFrames, const std::vector<double>& played,
                     int frameSamples, int lagSamples);
// Frames from the first to the last one above `fraction` of the loudest.
int loudSpan(const std::vector<double>& envelope, double fraction = 0.1);

} // namespace quendra::speech
