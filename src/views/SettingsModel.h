#pragma once

#include "model/DictationModel.h"
#include "model/MainThreadChecker.h"

#include <QObject>
#include <QVariantList>

#include <functional>

namespace quendra {

class AppDataStore;
class AppModel;
class LoginItem;

// The choices of the Settings section, read from and written to the same
// store the commands use. Lists are offered as {value, title, detail} maps;
// values are the stored raw values. A write that fails leaves the choice as
// it was and puts its sentence in `message`. Main thread only.
class SettingsModel : public QObject {
    Q_OBJECT
    Q_PROPERTY(QVariantList styles READ styles CONSTANT)
    Q_PROPERTY(QVariantList languages READ languages CONSTANT)
    Q_PROPERTY(QVariantList models READ models CONSTANT)
    Q_PROPERTY(QVariantList durations READ durations CONSTANT)
    Q_PROPERTY(QVariantList surfaces READ surfaces CONSTANT)
    Q_PROPERTY(QString style READ style WRITE setStyle NOTIFY changed)
    Q_PROPERTY(QString language READ language WRITE setLanguage NOTIFY changed)
    Q_PROPERTY(QString model READ model WRITE setModel NOTIFY changed)
    Q_PROPERTY(bool allowFallback READ allowFallback WRITE setAllowFallback NOTIFY changed)
    Q_PROPERTY(int recordingMinutes READ recordingMinutes WRITE setRecordingMinutes NOTIFY changed)
    Q_PROPERTY(bool contextAssist READ contextAssist WRITE setContextAssist NOTIFY changed)
    Q_PROPERTY(bool replyAssist READ replyAssist WRITE setReplyAssist NOTIFY changed)
    Q_PROPERTY(bool launchAtLogin READ launchAtLogin WRITE setLaunchAtLogin NOTIFY changed)
    Q_PROPERTY(QString message READ message NOTIFY messageChanged)

public:
    // `currentModel` is the model a dictation would use now, shown when none
    // was chosen.
    SettingsModel(AppDataStore& store, LoginItem& loginItem,
                  std::function<DictationModel()> currentModel, QObject* parent = nullptr);

    QVariantList styles() const;
    QVariantList languages() const;
    QVariantList models() const;
    QVariantList durations() const;
    QVariantList surfaces() const;

    QString style() const;
    void setStyle(const QString& raw);
    QString language() const;
    void setLanguage(const QString& raw);
    QString model() const;
    void setModel(const QString& raw);
    bool allowFallback() const;
    void setAllowFallback(bool on);
    int recordingMinutes() const;
    void setRecordingMinutes(int minutes);
    bool contextAssist() const;
    void setContextAssist(bool on);
    bool replyAssist() const;
    void setReplyAssist(bool on);
    bool launchAtLogin() const;
    void setLaunchAtLogin(bool on);
    QString message() const { return messageText; }

    // The style for one writing surface; empty when it follows the general one.
    Q_INVOKABLE QString surfaceStyle(const QString& surface) const;
    Q_INVOKABLE void setSurfaceStyle(const QString& surface, const QString& style);

    // Turns the desktop's accessibility bus on for the next login.
    Q_INVOKABLE void enableAccessibility();

    // After another process changed the settings.
    Q_INVOKABLE void refresh();

Q_SIGNALS:
    void changed();
    void messageChanged();

private:
    template <typename Result>
    void report(const Result& result);

    MainThreadChecker checker;
    AppDataStore& store;
    LoginItem& loginItem;
    std::function<DictationModel()> currentModel;
    QString messageText;
};

} // namespace quendra
