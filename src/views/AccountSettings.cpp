#include "AccountSettings.h"

#include "hosted/AccountModel.h"
#include "hosted/ConnectionStore.h"
#include "hosted/DesktopSignIn.h"
#include "hosted/HostedTokenStore.h"
#include "platform/UrlOpener.h"
#include "transcription/GroqEngine.h"
#include "transcription/QwenInstaller.h"

#include <QHostInfo>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

AccountSettings::AccountSettings(Parts parts, QObject* parent)
    : QObject(parent)
    , parts(parts) {}

AccountSettings::~AccountSettings() {
    *alive = false;
    if (signInCancel)
        signInCancel->cancel();
    if (qwenCancel)
        qwenCancel->cancel();
}

QString AccountSettings::accountState() const {
    switch (parts.tokens.status()) {
    case HostedTokenStore::Status::session:
        return u"Signed in to Parlevo."_s;
    case HostedTokenStore::Status::accessCode:
        return u"Signed in with an access code."_s;
    case HostedTokenStore::Status::locked:
        return u"Your sign-in is saved in the system keyring, which has not unlocked it yet."_s;
    case HostedTokenStore::Status::signedOut:
        break;
    }
    return u"Not signed in."_s;
}

bool AccountSettings::signedIn() const {
    const auto status = parts.tokens.status();
    return status == HostedTokenStore::Status::session ||
           status == HostedTokenStore::Status::accessCode;
}

bool AccountSettings::locked() const {
    return parts.tokens.status() == HostedTokenStore::Status::locked;
}

bool AccountSettings::qwenInstalled() const {
    return parts.qwen.installed();
}

void AccountSettings::refresh() {
    QUENDRA_CHECK_THREAD(checker);
    groqSaved = parts.connections.connectionKey(GroqEngine::connectionName).has_value();
    Q_EMIT changed();
}

void AccountSettings::setAccountMessage(const QString& text) {
    accountText = text;
    Q_EMIT changed();
}

void AccountSettings::signInWithBrowser() {
    QUENDRA_CHECK_THREAD(checker);
    if (signingIn())
        return;
    runSignIn();
}

QCoro::Task<> AccountSettings::runSignIn() {
    signInCancel = std::make_shared<CancellationFlag>();
    const Cancellation cancel = signInCancel;
    setAccountMessage(u"Opening the sign-in page in your browser…"_s);
    DesktopSignIn flow(parts.client, parts.tokens);
    const auto alive = this->alive;
    const SignInOutcome outcome = co_await flow.run(
        u"Parlevo on %1"_s.arg(QHostInfo::localHostName()),
        [this, alive](const DesktopSignInStart& start) {
            if (!*alive)
                return;
            if (!parts.browser.open(start.authURL))
                setAccountMessage(
                    u"No browser could be opened. Open this page to sign in: %1"_s.arg(
                        start.authURL.toString(QUrl::FullyEncoded)));
            else
                setAccountMessage(AccountModel::browserDetail);
        },
        cancel);
    if (!*alive)
        co_return;
    signInCancel.reset();
    setAccountMessage(outcome.message());
    Q_EMIT signInChanged();
}

void AccountSettings::cancelSignIn() {
    QUENDRA_CHECK_THREAD(checker);
    if (signInCancel)
        signInCancel->cancel();
}

void AccountSettings::enterAccessCode(const QString& code) {
    QUENDRA_CHECK_THREAD(checker);
    const auto done = parts.account.enterAccessCode(code);
    setAccountMessage(done ? *done : done.error());
    if (done)
        Q_EMIT signInChanged();
}

void AccountSettings::unlock() {
    QUENDRA_CHECK_THREAD(checker);
    const auto done = parts.account.unlock();
    setAccountMessage(done ? accountState() : done.error());
    Q_EMIT signInChanged();
}

void AccountSettings::signOut() {
    QUENDRA_CHECK_THREAD(checker);
    runSignOut();
}

QCoro::Task<> AccountSettings::runSignOut() {
    const auto alive = this->alive;
    co_await parts.account.signOut();
    if (!*alive)
        co_return;
    setAccountMessage(u"Signed out of Parlevo."_s);
    Q_EMIT signInChanged();
}

void AccountSettings::saveGroqKey(const QString& key) {
    QUENDRA_CHECK_THREAD(checker);
    const QString trimmed = key.trimmed();
    if (trimmed.isEmpty()) {
        groqText = u"Paste your Groq API key first."_s;
    } else if (auto saved =
                   parts.connections.saveConnectionKey(GroqEngine::connectionName, trimmed);
               !saved) {
        groqText = saved.error();
    } else {
        groqText = u"Your Groq key is saved in the system keyring."_s;
        groqSaved = true;
    }
    Q_EMIT changed();
    Q_EMIT signInChanged();
}

void AccountSettings::removeGroqKey() {
    QUENDRA_CHECK_THREAD(checker);
    if (parts.connections.removeConnectionKey(GroqEngine::connectionName)) {
        groqSaved = false;
        groqText = u"Your Groq key was removed from the system keyring."_s;
    } else {
        groqText = u"The system keyring could not remove the Groq key. Try again."_s;
    }
    Q_EMIT changed();
    Q_EMIT signInChanged();
}

void AccountSettings::installQwen() {
    QUENDRA_CHECK_THREAD(checker);
    if (qwenInstalling())
        return;
    runQwenInstall();
}

QCoro::Task<> AccountSettings::runQwenInstall() {
    qwenCancel = std::make_shared<CancellationFlag>();
    const Cancellation cancel = qwenCancel;
    qwenShare = 0;
    qwenText = u"Preparing the installation…"_s;
    Q_EMIT changed();
    const auto alive = this->alive;
    const auto done = co_await parts.qwen.install(
        parts.qwen.steps(),
        [this, alive](const QwenInstaller::Progress& p) {
            if (!*alive)
                return;
            qwenShare = p.steps > 0 ? double(p.step - 1) / p.steps : 0;
            qwenText = u"Step %1 of %2: %3…"_s.arg(p.step).arg(p.steps).arg(p.title);
            Q_EMIT changed();
        },
        cancel);
    if (!*alive)
        co_return;
    qwenCancel.reset();
    qwenShare = done ? 1 : 0;
    qwenText = done ? u"Qwen is installed on this computer."_s : done.error();
    Q_EMIT changed();
    Q_EMIT signInChanged();
}

void AccountSettings::cancelQwenInstall() {
    QUENDRA_CHECK_THREAD(checker);
    if (qwenCancel)
        qwenCancel->cancel();
}

} // namespace quendra
