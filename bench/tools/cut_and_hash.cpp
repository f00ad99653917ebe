// Cuts a recording as the transcription service does and hashes every part,
// once, so the whole process can be timed against `sha256sum FILE`.
// Usage: cut_and_hash FILE

#include "audio/AudioChunks.h"
#include "transcription/PartCache.h"

#include <cstdio>

using namespace quendra;

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: cut_and_hash FILE\n");
        return 2;
    }
    const auto prepared = AudioChunks::prepare(QString::fromLocal8Bit(argv[1]));
    if (!prepared) {
        std::fprintf(stderr, "cut_and_hash: the recording could not be cut\n");
        return 1;
    }
    const auto digests = PartCache::digests(prepared->parts);
    for (qsizetype i = 0; i < digests.size(); ++i)
        std::printf("%s  %s\n", digests[i] ? qPrintable(*digests[i]) : "-",
                    qPrintable(prepared->parts[i].path));
    AudioChunks::removeTemporaryFiles(*prepared);
    return 0;
}
