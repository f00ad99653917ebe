#include "transcription/PartCache.h"

#include "model/DurableFile.h"

#include <QFile>

#include <openssl/evp.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <thread>
#include <vector>

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
    // Unbuffered, in large blocks: the bytes go from the kernel straight to
    // the hash, with no copy through the device's own small buffer.
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return std::nullopt;
    const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(),
                                                                          &EVP_MD_CTX_free);
    if (!context || EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr) != 1)
        return std::nullopt;
    constexpr qint64 blockBytes = 1 << 20;
    std::vector<char> block(blockBytes);
    for (;;) {
        const qint64 got = file.read(block.data(), blockBytes);
        if (got < 0)
            return std::nullopt;
        if (got == 0)
            break;
        if (EVP_DigestUpdate(context.get(), block.data(), size_t(got)) != 1)
            return std::nullopt;
    }
    unsigned char hash[EVP_MAX_MD_SIZE];
    unsigned int hashBytes = 0;
    if (EVP_DigestFinal_ex(context.get(), hash, &hashBytes) != 1)
        return std::nullopt;
    return QString::fromLatin1(
        QByteArray::fromRawData(reinterpret_cast<const char*>(hash), int(hashBytes)).toHex());
}

QList<std::optional<QString>> PartCache::digests(const QList<AudioPart>& parts) {
    std::vector<std::optional<QString>> found(size_t(parts.size()));
    std::atomic<qsizetype> next = 0;
    const auto work = [&] {
        for (qsizetype i = next++; i < parts.size(); i = next++)
            found[size_t(i)] = digest(parts[i].path);
    };
    {
        const qsizetype helpers = std::min<qsizetype>(
            parts.size() - 1, qsizetype(std::max(1u, std::thread::hardware_concurrency())) - 1);
        std::vector<std::jthread> threads;
        for (qsizetype t = 0; t < helpers; ++t)
            threads.emplace_back(work);
        work();
    }
    return QList<std::optional<QString>>(found.begin(), found.end());
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

StoreResult<> PartCache::save(const QString& path) const {
    Json list = Json::array();
    for (const Section& s : sections)
        list.push_back(Json{
            {"digest", s.digest}, {"style", s.style}, {"model", s.model}, {"result", s.result}});
    return DurableFile::write(path, jsonBytes(Json{{"version", version}, {"sections", list}}));
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
