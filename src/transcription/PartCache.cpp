#include "transcription/PartCache.h"

#include <QCryptographicHash>
#include <QFile>
#include <QSaveFile>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

void to_json(Json& j, const EngineTranscript& t) {
    j = Json{{"rawTranscript", t.rawTranscript},
             {"transcript", t.transcript},
             {"segments", t.segments},
             {"modelFormatted", t.modelFormatted},
             {"formattingFallback", t.formattingFallback}};
}

void from_json(const Json& j, EngineTranscript& t) {
    t.rawTranscript = requiredField<QString>(j, "rawTranscript");
    t.transcript = fieldOr<QString>(j, "transcript", t.rawTranscript);
    t.segments = decodeElements<TranscriptionSegment>(j.value("segments", Json::array()));
    t.modelFormatted = fieldOr(j, "modelFormatted", false);
    t.formattingFallback = fieldOr(j, "formattingFallback", false);
}

QString PartCache::pathFor(const QString& recording) {
    return recording + u".progress.json"_s;
}

std::optional<QString> PartCache::digest(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    QCryptographicHash hash(QCryptographicHash::Sha256);
    if (!hash.addData(&file))
        return std::nullopt;
    return QString::fromLatin1(hash.result().toHex());
}

PartCache PartCache::load(const QString& path) {
    PartCache cache;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return cache;
    const auto json = parseJson(file.readAll());
    if (!json || integerField(*json, "version") != version)
        return cache;
    for (const Json& entry : json->value("sections", Json::array())) {
        try {
            cache.sections.append(Section{requiredField<QString>(entry, "digest"),
                                          requiredField<DictationStyle>(entry, "style"),
                                          requiredField<DictationModel>(entry, "model"),
                                          requiredField<EngineTranscript>(entry, "result")});
        } catch (const std::invalid_argument&) {
        }
    }
    return cache;
}

bool PartCache::save(const QString& path) const {
    Json list = Json::array();
    for (const Section& s : sections)
        list.push_back(Json{
            {"digest", s.digest}, {"style", s.style}, {"model", s.model}, {"result", s.result}});
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    file.write(jsonBytes(Json{{"version", version}, {"sections", list}}));
    return file.commit();
}

std::optional<EngineTranscript> PartCache::find(const QString& digest, DictationStyle style,
                                                DictationModel model) const {
    for (const Section& s : sections)
        if (s.digest == digest && s.style == style && s.model == model)
            return s.result;
    return std::nullopt;
}

void PartCache::remember(const QString& digest, DictationStyle style, DictationModel model,
                         const EngineTranscript& result) {
    sections.removeIf([&](const Section& s) {
        return s.digest == digest && s.style == style && s.model == model;
    });
    sections.append(Section{digest, style, model, result});
}

} // namespace quendra
