#pragma once

#include "TranscriptionEngine.h"
#include "model/StoreError.h"

#include <QString>

#include <optional>

namespace quendra {

// The finished parts of one recording, kept beside it in
// "<recording>.progress.json" so that a retry sends only what is missing.
// A part is known by the SHA-256 of its file, the cache version, the style
// and the model.
class PartCache {
public:
    static constexpr int version = 2;

    static QString pathFor(const QString& recording);
    // Lower-case hexadecimal SHA-256 of the file's bytes; none when unreadable.
    static std::optional<QString> digest(const QString& path);
    // The digests of every part, in their order, hashed on as many threads
    // as the computer has cores: an hour of parts is hashed while the user waits.
    static QList<std::optional<QString>> digests(const QList<AudioPart>& parts);

    // An unreadable file, or one of another version, is an empty cache.
    static PartCache load(const QString& path);
    // Private to the user, and on the disk before it counts as saved.
    StoreResult<> save(const QString& path) const;

    std::optional<EngineTranscript> find(const QString& digest, DictationStyle style,
                                         DictationModel model) const;
    void remember(const QString& digest, DictationStyle style, DictationModel model,
                  const EngineTranscript& result);
    qsizetype size() const { return sections.size(); }

private:
    struct Section {
        QString digest;
        DictationStyle style = DictationStyle::clean;
        DictationModel model = DictationModel::hosted;
        EngineTranscript result;
    };
    QList<Section> sections;
};

} // namespace quendra
