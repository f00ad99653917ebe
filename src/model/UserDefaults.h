#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

class QSettings;

namespace quendra {

// The user defaults database: typed values under string keys in one INI file.
// Each write is synchronised to disk at once (QSettings replaces the file
// atomically and merges what other processes wrote meanwhile). Main thread only.
class UserDefaults {
public:
    // $XDG_CONFIG_HOME/Quendra/defaults.conf (XDG_CONFIG_HOME defaults to ~/.config).
    static QString defaultPath();

    explicit UserDefaults(const QString& filePath = defaultPath());
    ~UserDefaults();
    UserDefaults(const UserDefaults&) = delete;
    UserDefaults& operator=(const UserDefaults&) = delete;

    QString filePath() const;
    bool contains(const QString& key) const;
    QStringList keys() const;

    // Each reader gives none when the key is absent or holds another type.
    std::optional<QByteArray> data(const QString& key) const;
    std::optional<QString> string(const QString& key) const;
    std::optional<bool> boolean(const QString& key) const;
    std::optional<qint64> integer(const QString& key) const;
    std::optional<QMap<QString, QString>> stringMap(const QString& key) const;
    std::optional<QStringList> stringList(const QString& key) const;

    // Writers return false when the file could not be written.
    bool setData(const QString& key, const QByteArray& value);
    bool setString(const QString& key, const QString& value);
    bool setBoolean(const QString& key, bool value);
    bool setInteger(const QString& key, qint64 value);
    bool setStringMap(const QString& key, const QMap<QString, QString>& value);
    bool setStringList(const QString& key, const QStringList& value);
    bool remove(const QString& key);

    // Picks up what another process (the command line, the application) wrote.
    void reload();

private:
    bool write(const QString& key, const QVariant& value);
    void recoverDamagedFile();

    std::unique_ptr<QSettings> settings;
};

} // namespace quendra
