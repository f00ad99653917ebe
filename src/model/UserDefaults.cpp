#include "UserDefaults.h"

#include "AppPaths.h"
#include "DurableFile.h"
#include "FileLock.h"
#include "Json.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QVariant>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

// Typed values are stored with a one-letter tag so that a value always reads
// back as the type it was written with: strings, maps and lists are JSON
// text behind their tag.
const QString dataTag = QStringLiteral("d:");     // base64
const QString textDataTag = QStringLiteral("t:"); // data that is UTF-8 text, kept readable
const QString stringTag = QStringLiteral("s:");
const QString boolTag = QStringLiteral("b:");
const QString integerTag = QStringLiteral("i:");
const QString mapTag = QStringLiteral("m:");
const QString listTag = QStringLiteral("l:");

std::optional<QString> tagged(const QMap<QString, QString>& values, const QString& key,
                              const QString& tag) {
    const auto it = values.find(key);
    if (it == values.end() || !it->startsWith(tag))
        return std::nullopt;
    return it->mid(tag.size());
}

// Clears `flag` however the scope is left, an exception included.
struct Resetting {
    bool& flag;
    ~Resetting() { flag = false; }
};

} // namespace

QString UserDefaults::defaultPath() {
    return configHome() + u"/Quendra/defaults.json"_s;
}

UserDefaults::UserDefaults(const QString& filePath)
    : path(QFileInfo(filePath).absoluteFilePath()) {
    reload();
}

QString UserDefaults::lockPath() const {
    return path + u".lock"_s;
}

// Earlier builds kept the same keys in an INI file beside this one.
QString UserDefaults::legacyPath() const {
    if (!path.endsWith(u".json"_s))
        return {};
    return path.chopped(5) + u".conf"_s;
}

QStringList UserDefaults::takeNotices() {
    return std::exchange(notices, {});
}

UserDefaults::Loaded UserDefaults::readFile() {
    damagedBytes.clear();
    auto bytes = DurableFile::read(path, maxFileBytes);
    if (!bytes) {
        values.clear();
        if (bytes.error().kind == StoreError::Kind::missing) {
            problem.reset();
            const QString legacy = legacyPath();
            return !legacy.isEmpty() && QFileInfo(legacy).isFile() ? Loaded::needsRepair
                                                                   : Loaded::ok;
        }
        problem = bytes.error();
        return Loaded::failed;
    }
    problem.reset();
    QMap<QString, QString> read;
    bool whole = false;
    if (const auto json = parseJson(*bytes); json && json->is_object()) {
        whole = true;
        for (const auto& [key, value] : json->items()) {
            if (value.is_string())
                read.insert(QString::fromStdString(key),
                            QString::fromStdString(value.get<std::string>()));
            else
                whole = false;
        }
    }
    values = std::move(read);
    if (whole)
        return Loaded::ok;
    damagedBytes = std::move(*bytes);
    return Loaded::needsRepair;
}

// Runs with the lock held: another process may have repaired the file since
// it was read, so it is read again before anything is kept aside or written.
StoreResult<> UserDefaults::repairLocked() {
    switch (readFile()) {
    case Loaded::ok:
        return {};
    case Loaded::failed:
        return std::unexpected(*problem);
    case Loaded::needsRepair:
        break;
    }
    if (!damagedBytes.isEmpty()) {
        auto copy = DurableFile::keepAside(path, damagedBytes);
        if (!copy) {
            problem = copy.error();
            return std::unexpected(copy.error());
        }
        notices << u"Your settings file %1 was damaged. A copy of it is kept at %2, and Parlevo "
                   u"goes on with what could be read from it."_s.arg(path, *copy);
    } else {
        QSettings legacy(legacyPath(), QSettings::IniFormat);
        legacy.setFallbacksEnabled(false);
        for (const QString& key : legacy.allKeys())
            if (const QVariant value = legacy.value(key); value.typeId() == QMetaType::QString)
                values.insert(key, value.toString());
    }
    if (auto saved = save(); !saved) {
        problem = saved.error();
        return saved;
    }
    if (damagedBytes.isEmpty())
        QFile::rename(legacyPath(), legacyPath() + u".imported"_s);
    damagedBytes.clear();
    return {};
}

void UserDefaults::reload() {
    if (readFile() != Loaded::needsRepair)
        return;
    auto lock = FileLock::acquire(lockPath(), u"your settings"_s);
    if (!lock) {
        problem = lock.error();
        return;
    }
    (void)repairLocked(); // a failure stays in readProblem()
}

StoreResult<> UserDefaults::change(const std::function<StoreResult<>()>& edit) {
    if (changing)
        return edit();
    // The lock file lives in the folder, so the folder comes first.
    QString error;
    if (!makePrivateDirectory(QFileInfo(path).absolutePath(), &error))
        return std::unexpected(StoreError{StoreError::Kind::notSaved,
                                          u"Could not save %1: %2."_s.arg(path, error.toLower())});
    auto lock = FileLock::acquire(lockPath(), u"your settings"_s);
    if (!lock)
        return std::unexpected(lock.error());
    if (auto read = repairLocked(); !read)
        return read;
    const QMap<QString, QString> before = values;
    StoreResult<> result;
    {
        changing = true;
        dirty = false;
        Resetting guard{changing};
        result = edit();
    }
    if (result && dirty)
        result = save();
    if (!result)
        values = before;
    dirty = false;
    return result;
}

StoreResult<> UserDefaults::save() {
    Json object = Json::object();
    for (auto it = values.begin(); it != values.end(); ++it)
        object[it.key().toStdString()] = it.value();
    return DurableFile::write(path, jsonBytes(object, 2) + '\n');
}

StoreResult<> UserDefaults::put(const QString& key, std::optional<QString> value) {
    if (!changing)
        return change([&] { return put(key, value); });
    if (value)
        values.insert(key, *value);
    else
        values.remove(key);
    dirty = true;
    return {};
}

std::optional<QByteArray> UserDefaults::data(const QString& key) const {
    if (auto text = tagged(values, key, textDataTag))
        return text->toUtf8();
    auto text = tagged(values, key, dataTag);
    if (!text)
        return std::nullopt;
    auto decoded =
        QByteArray::fromBase64Encoding(text->toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
    if (!decoded)
        return std::nullopt;
    return *decoded;
}

std::optional<QString> UserDefaults::string(const QString& key) const {
    return tagged(values, key, stringTag);
}

std::optional<bool> UserDefaults::boolean(const QString& key) const {
    auto text = tagged(values, key, boolTag);
    if (text == u"true"_s)
        return true;
    if (text == u"false"_s)
        return false;
    return std::nullopt;
}

std::optional<qint64> UserDefaults::integer(const QString& key) const {
    auto text = tagged(values, key, integerTag);
    if (!text)
        return std::nullopt;
    bool ok = false;
    const qint64 value = text->toLongLong(&ok);
    return ok ? std::optional(value) : std::nullopt;
}

std::optional<QMap<QString, QString>> UserDefaults::stringMap(const QString& key) const {
    auto text = tagged(values, key, mapTag);
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
    auto text = tagged(values, key, listTag);
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

StoreResult<> UserDefaults::setData(const QString& key, const QByteArray& value) {
    const QString text = QString::fromUtf8(value);
    if (text.toUtf8() == value)
        return put(key, textDataTag + text);
    return put(key, dataTag + QString::fromLatin1(value.toBase64()));
}

StoreResult<> UserDefaults::setString(const QString& key, const QString& value) {
    return put(key, stringTag + value);
}

StoreResult<> UserDefaults::setBoolean(const QString& key, bool value) {
    return put(key, boolTag + (value ? u"true"_s : u"false"_s));
}

StoreResult<> UserDefaults::setInteger(const QString& key, qint64 value) {
    return put(key, integerTag + QString::number(value));
}

StoreResult<> UserDefaults::setStringMap(const QString& key, const QMap<QString, QString>& value) {
    Json object = Json::object();
    for (auto it = value.begin(); it != value.end(); ++it)
        object[it.key().toStdString()] = it.value();
    return put(key, mapTag + QString::fromUtf8(jsonBytes(object)));
}

StoreResult<> UserDefaults::setStringList(const QString& key, const QStringList& value) {
    return put(key, listTag + QString::fromUtf8(jsonBytes(Json(value))));
}

StoreResult<> UserDefaults::remove(const QString& key) {
    return put(key, std::nullopt);
}

} // namespace quendra
