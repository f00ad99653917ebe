#include "UserDefaults.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QStandardPaths>
#include <QVariant>

#include "AppPaths.h"
#include "Json.h"

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

// Typed values are stored with a one-letter tag so that a value always reads
// back as the type it was written with, whatever the INI text looks like:
// strings, maps and lists are JSON text behind their tag.
const QString dataTag = QStringLiteral("d:");     // base64
const QString textDataTag = QStringLiteral("t:"); // data that is UTF-8 text, kept readable
const QString stringTag = QStringLiteral("s:");
const QString boolTag = QStringLiteral("b:");
const QString integerTag = QStringLiteral("i:");
const QString mapTag = QStringLiteral("m:");
const QString listTag = QStringLiteral("l:");

std::optional<QString> tagged(const QSettings& settings, const QString& key, const QString& tag) {
    const QVariant value = settings.value(key);
    if (value.typeId() != QMetaType::QString)
        return std::nullopt;
    const QString text = value.toString();
    if (!text.startsWith(tag))
        return std::nullopt;
    return text.mid(tag.size());
}

} // namespace

QString UserDefaults::defaultPath() {
    return configHome() + u"/Quendra/defaults.conf"_s;
}

UserDefaults::UserDefaults(const QString& filePath)
    : settings(std::make_unique<QSettings>(filePath, QSettings::IniFormat)) {
    settings->setFallbacksEnabled(false);
    settings->allKeys(); // parses the file, which sets the status
    if (settings->status() == QSettings::FormatError)
        recoverDamagedFile();
}

// QSettings refuses to write over a file it could not parse, which would make
// every later change silently vanish. Keep the damaged file beside the new
// one and carry over every value that could still be read.
void UserDefaults::recoverDamagedFile() {
    QMap<QString, QVariant> readable;
    for (const QString& key : settings->allKeys())
        readable.insert(key, settings->value(key));
    const QString path = settings->fileName();
    settings.reset();
    const QString kept =
        path + u".damaged-"_s + QDateTime::currentDateTimeUtc().toString(u"yyyyMMdd-HHmmss"_s);
    QFile::remove(kept);
    QFile::rename(path, kept);
    settings = std::make_unique<QSettings>(path, QSettings::IniFormat);
    settings->setFallbacksEnabled(false);
    for (auto it = readable.begin(); it != readable.end(); ++it)
        settings->setValue(it.key(), it.value());
    settings->sync();
}

UserDefaults::~UserDefaults() = default;

QString UserDefaults::filePath() const {
    return settings->fileName();
}

bool UserDefaults::contains(const QString& key) const {
    return settings->contains(key);
}

QStringList UserDefaults::keys() const {
    return settings->allKeys();
}

std::optional<QByteArray> UserDefaults::data(const QString& key) const {
    if (auto text = tagged(*settings, key, textDataTag))
        return text->toUtf8();
    auto text = tagged(*settings, key, dataTag);
    if (!text)
        return std::nullopt;
    auto decoded =
        QByteArray::fromBase64Encoding(text->toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
    if (!decoded)
        return std::nullopt;
    return *decoded;
}

std::optional<QString> UserDefaults::string(const QString& key) const {
    return tagged(*settings, key, stringTag);
}

std::optional<bool> UserDefaults::boolean(const QString& key) const {
    auto text = tagged(*settings, key, boolTag);
    if (text == u"true"_s)
        return true;
    if (text == u"false"_s)
        return false;
    return std::nullopt;
}

std::optional<qint64> UserDefaults::integer(const QString& key) const {
    auto text = tagged(*settings, key, integerTag);
    if (!text)
        return std::nullopt;
    bool ok = false;
    const qint64 value = text->toLongLong(&ok);
    return ok ? std::optional(value) : std::nullopt;
}

std::optional<QMap<QString, QString>> UserDefaults::stringMap(const QString& key) const {
    auto text = tagged(*settings, key, mapTag);
    if (!text)
        return std::nullopt;
    auto json = parseJsonText(*text);
    if (!json || !json->is_object())
        return std::nullopt;
    QMap<QString, QString> map;
    for (const auto& [k, v] : json->items()) {
        if (!v.is_string())
            return std::nullopt;
        map.insert(QString::fromStdString(k), QString::fromStdString(v.get<std::string>()));
    }
    return map;
}

std::optional<QStringList> UserDefaults::stringList(const QString& key) const {
    auto text = tagged(*settings, key, listTag);
    if (!text)
        return std::nullopt;
    auto json = parseJsonText(*text);
    if (!json || !json->is_array())
        return std::nullopt;
    QStringList list;
    for (const auto& v : *json) {
        if (!v.is_string())
            return std::nullopt;
        list << QString::fromStdString(v.get<std::string>());
    }
    return list;
}

bool UserDefaults::setData(const QString& key, const QByteArray& value) {
    const QString text = QString::fromUtf8(value);
    if (text.toUtf8() == value)
        return write(key, textDataTag + text);
    return write(key, dataTag + QString::fromLatin1(value.toBase64()));
}

bool UserDefaults::setString(const QString& key, const QString& value) {
    return write(key, stringTag + value);
}

bool UserDefaults::setBoolean(const QString& key, bool value) {
    return write(key, boolTag + (value ? u"true"_s : u"false"_s));
}

bool UserDefaults::setInteger(const QString& key, qint64 value) {
    return write(key, integerTag + QString::number(value));
}

bool UserDefaults::setStringMap(const QString& key, const QMap<QString, QString>& value) {
    Json object = Json::object();
    for (auto it = value.begin(); it != value.end(); ++it)
        object[it.key().toStdString()] = it.value();
    return write(key, mapTag + QString::fromUtf8(jsonBytes(object)));
}

bool UserDefaults::setStringList(const QString& key, const QStringList& value) {
    return write(key, listTag + QString::fromUtf8(jsonBytes(Json(value))));
}

bool UserDefaults::remove(const QString& key) {
    settings->remove(key);
    settings->sync();
    return settings->status() == QSettings::NoError;
}

void UserDefaults::reload() {
    settings->sync();
}

bool UserDefaults::write(const QString& key, const QVariant& value) {
    QDir().mkpath(QFileInfo(settings->fileName()).absolutePath());
    settings->setValue(key, value);
    settings->sync();
    return settings->status() == QSettings::NoError;
}

} // namespace quendra
