#pragma once

#include "hosted/CancellationFlag.h"
#include "model/MainThreadChecker.h"

#include <QCoro/QCoroTask>
#include <QObject>
#include <QString>

#include <functional>

namespace quendra {

class AccountModel;
class ConnectionStore;
class DesktopSignIn;
class HostedClient;
class HostedTokenStore;
class QwenInstaller;
class UrlOpener;

// The parts of Settings that reach outside this computer's settings: the
// Parlevo account (browser sign-in, access code, unlock, sign out), the Groq
// key kept in the system keyring and the installation of the on-device Qwen
// model. Long work runs as tasks that can be cancelled. Main thread only.
class AccountSettings : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString accountState READ accountState NOTIFY changed)
    Q_PROPERTY(bool signedIn READ signedIn NOTIFY changed)
    Q_PROPERTY(bool locked READ locked NOTIFY changed)
    Q_PROPERTY(bool signingIn READ signingIn NOTIFY changed)
    Q_PROPERTY(QString accountMessage READ accountMessage NOTIFY changed)
    Q_PROPERTY(bool groqKeySaved READ groqKeySaved NOTIFY changed)
    Q_PROPERTY(QString groqMessage READ groqMessage NOTIFY changed)
    Q_PROPERTY(bool qwenInstalled READ qwenInstalled NOTIFY changed)
    Q_PROPERTY(bool qwenInstalling READ qwenInstalling NOTIFY changed)
    Q_PROPERTY(QString qwenProgress READ qwenProgress NOTIFY changed)
    Q_PROPERTY(double qwenFraction READ qwenFraction NOTIFY changed)

public:
    struct Parts {
        HostedClient& client;
        HostedTokenStore& tokens;
        AccountModel& account;
        ConnectionStore& connections;
        QwenInstaller& qwen;
        UrlOpener& browser;
    };

    explicit AccountSettings(Parts parts, QObject* parent = nullptr);
    ~AccountSettings() override;

    QString accountState() const;
    bool signedIn() const;
    bool locked() const;
    bool signingIn() const { return signInCancel != nullptr; }
    QString accountMessage() const { return accountText; }
    bool groqKeySaved() const { return groqSaved; }
    QString groqMessage() const { return groqText; }
    bool qwenInstalled() const;
    bool qwenInstalling() const { return qwenCancel != nullptr; }
    QString qwenProgress() const { return qwenText; }
    double qwenFraction() const { return qwenShare; }

    // Asks the keyring again, without prompting.
    Q_INVOKABLE void refresh();
    Q_INVOKABLE void signInWithBrowser();
    Q_INVOKABLE void cancelSignIn();
    Q_INVOKABLE void enterAccessCode(const QString& code);
    Q_INVOKABLE void unlock();
    Q_INVOKABLE void signOut();
    Q_INVOKABLE void saveGroqKey(const QString& key);
    Q_INVOKABLE void removeGroqKey();
    Q_INVOKABLE void installQwen();
    Q_INVOKABLE void cancelQwenInstall();

Q_SIGNALS:
    void changed();
    // The sign-in changed: what can dictate changed with it.
    void signInChanged();

private:
    void setAccountMessage(const QString& text);
    QCoro::Task<> runSignIn();
    QCoro::Task<> runSignOut();
    QCoro::Task<> runQwenInstall();

    MainThreadChecker checker;
    Parts parts;
    QString accountText;
    bool groqSaved = false;
    QString groqText;
    QString qwenText;
    double qwenShare = 0;
    Cancellation signInCancel;
    Cancellation qwenCancel;
    std::shared_ptr<bool> alive = std::make_shared<bool>(true);
};

} // namespace quendra
