#pragma once

#include "StoreError.h"

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

namespace quendra {

// The user defaults database: typed values under string keys in one private
// JSON file. Values are read once and on reload(); every change re-reads the
// file under a lock held across processes and writes it back durably, so the
// application and any number of commands can change it at once and lose
// nothing. A file that cannot be read is never written over; a damaged one
// is copied aside first. Main thread only.
class UserDefaults {
public:
    // $XDG_CONFIG_HOME/Quendra/defaults.json (XDG_CONFIG_HOME defaults to ~/.config).
    static QString defaultPath();
    // Beyond this a file is refused rather than read into memory.
    static constexpr qint64 maxFileBytes = 64LL * 1024 * 1024;

    explicit UserDefaults(const QString& filePath = defaultPath());
    UserDefaults(const UserDefaults&) = delete;
    UserDefaults& operator=(const UserDefaults&) = delete;

    QString filePath() const { return path; }
    // Why the stored values could not be read at the last (re)load; every
    // change is refused while this is set.
    const std::optional<StoreError>& readProblem() const { return problem; }
    // Sentences about damaged data kept aside since the last call, for the user.
    QStringList takeNotices();
    void addNotice(const QString& sentence) { notices << sentence; }

    bool contains(const QString& key) const { return values.contains(key); }
    QStringList keys() const { return values.keys(); }

    // Each reader gives none when the key is absent or holds another type.
    std::optional<QByteArray> data(const QString& key) const;
    std::optional<QString> string(const QString& key) const;
    std::optional<bool> boolean(const QString& key) const;
    std::optional<qint64> integer(const QString& key) const;
    std::optional<QMap<QString, QString>> stringMap(const QString& key) const;
    std::optional<QStringList> stringList(const QString& key) const;

    // Outside change() each writer is a change of its own.
    [[nodiscard]] StoreResult<> setData(const QString& key, const QByteArray& value);
    [[nodiscard]] StoreResult<> setString(const QString& key, const QString& value);
    [[nodiscard]] StoreResult<> setBoolean(const QString& key, bool value);
    [[nodiscard]] StoreResult<> setInteger(const QString& key, qint64 value);
    [[nodiscard]] StoreResult<> setStringMap(const QString& key,
                                             const QMap<QString, QString>& value);
    [[nodiscard]] StoreResult<> setStringList(const QString& key, const QStringList& value);
    [[nodiscard]] StoreResult<> remove(const QString& key);

    // Runs `edit` on the values as stored now, with the file locked against
    // every other process; what its writers set is saved once, at the end.
    // When `edit` or the save fails, the values stay as they were on disk.
    // Inside an edit, change() simply runs the inner edit.
    [[nodiscard]] StoreResult<> change(const std::function<StoreResult<>()>& edit);

    // Picks up what another process (the command line, the application) wrote.
    void reload();

private:
    enum class Loaded { ok, failed, needsRepair };
    Loaded readFile();
    StoreResult<> repairLocked();
    StoreResult<> save();
    StoreResult<> put(const QString& key, std::optional<QString> tagged);
    QString lockPath() const;
    QString legacyPath() const;

    QString path;
    QMap<QString, QString> values;
    std::optional<StoreError> problem;
    QStringList notices;
    QByteArray damagedBytes;
    bool changing = false;
    bool dirty = false;
};

} // namespace quendra
