#pragma once

#include "CancellationFlag.h"
#include "HostedClient.h"
#include "HostedTokenStore.h"
#include "SignInClock.h"

#include <functional>

namespace quendra {

struct SignInOutcome {
    enum class Kind {
        signedIn,
        failed,
        cancelledInBrowser,
        expired,
        timedOut,
        notConfigured,
        cancelledByUser,
    };
    Kind kind = Kind::failed;
    QString failure; // failed only: the sentence to show
    AccountView account;

    // What the account screen says about it.
    QString message() const;
};

// The browser sign-in: a challenge goes to the service, the user finishes in
// the browser, and the service is polled until it hands out a session token.
// Main thread; the client, store and clock must outlive a run.
class DesktopSignIn {
public:
    DesktopSignIn(HostedClient& client, HostedTokenStore& tokens,
                  SignInClock& clock = SignInClock::live(),
                  std::function<QString()> makeVerifier = {});

    // 32 random bytes in unpadded base64url: 43 characters.
    static QString makeRandomVerifier();
    // The SHA-256 of the verifier's text, encoded the same way.
    static QString challenge(const QString& verifier);

    // `onStarted` opens the page in the browser.
    QCoro::Task<SignInOutcome> run(QString device,
                                   std::function<void(const DesktopSignInStart&)> onStarted,
                                   Cancellation cancel = {});

private:
    HostedClient& client;
    HostedTokenStore& tokens;
    SignInClock& clock;
    std::function<QString()> makeVerifier;
};

} // namespace quendra
