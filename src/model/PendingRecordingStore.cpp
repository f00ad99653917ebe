#include "PendingRecordingStore.h"

#include "AppPaths.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

QString PendingRecordingStore::defaultDirectory() {
    return applicationDataDirectory() + u"/Pending Dictations"_s;
}

QString PendingRecordingStore::fileName(const QUuid& id) {
    return id.toString(QUuid::WithoutBraces).toUpper() + u".wav"_s;
}

PendingRecordingStore::PendingRecordingStore(std::optional<QString> directory)
    : folder(directory ? *directory : defaultDirectory()) {}

std::expected<QString, QString> PendingRecordingStore::prepare(const QUuid& id) const {
    QString error;
    if (!makePrivateDirectory(folder, &error))
        return std::unexpected(error);
    return QDir(folder).filePath(fileName(id));
}

namespace {
bool isBareRecordingName(const QString& name) {
    if (name.isEmpty() || name == u"."_s || name == u".."_s || name.contains(u'/'))
        return false;
    return name.endsWith(u".wav"_s) || name.endsWith(u".m4a"_s);
}
} // namespace

std::optional<QString> PendingRecordingStore::url(const QString& name) const {
    if (!isBareRecordingName(name))
        return std::nullopt;
    const QString full = QDir(folder).filePath(name);
    if (!QFileInfo(full).isFile())
        return std::nullopt;
    return full;
}

void PendingRecordingStore::remove(const QString& name) const {
    // Only a bare name: a stored name must never reach outside the folder.
    if (name.isEmpty() || name.contains(u'/') || name == u"."_s || name == u".."_s)
        return;
    QFile::remove(QDir(folder).filePath(name));
    QFile::remove(QDir(folder).filePath(name + u".progress.json"_s));
}

} // namespace quendra
