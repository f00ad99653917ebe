#pragma once

#include "HostedClient.h"
#include "HostedTokenStore.h"

namespace quendra {

// The account screen's actions on the stored sign-in: access codes, unlocking,
// sign-out and deleting the account. Each returns the sentence to show.
// Main thread; the client and store must outlive the calls.
class AccountModel {
public:
    AccountModel(HostedClient& client, HostedTokenStore& tokens)
        : client(client)
        , tokens(tokens) {}

    static inline const QString accessCodePlaceholder =
        QStringLiteral("Access code, starting with pvb_");
    static inline const QString deleteConfirmationWord = QStringLiteral("DELETE");
    // The account screen's own words.
    static inline const QString unlockAction = QStringLiteral("Unlock your saved sign-in");
    static inline const QString unlockAdvice =
        QStringLiteral("If the system keyring asks, choose Always Allow to remember this app.");
    static inline const QString browserTitle = QStringLiteral("Finish in your browser");
    static inline const QString browserDetail =
        QStringLiteral("Sign in with Google in the page that opened, then press Continue there. "
                       "This window updates by itself.");
    static inline const QString deleteQuestion = QStringLiteral("Delete your Parlevo account?");
    static inline const QString deletePlaceholder = QStringLiteral("Type DELETE to confirm");

    std::expected<QString, QString> enterAccessCode(const QString& text);
    // The keyring may ask the user; refused access gives the sentence to show.
    std::expected<HostedTokenStore::Status, QString> unlock();
    // Forgets the stored sign-in, then revokes it with the service (whose
    // failures do not matter: the token is gone from this computer already).
    QCoro::Task<> signOut();
    QCoro::Task<std::expected<QString, QString>> deleteAccount(QString confirmation);

private:
    HostedClient& client;
    HostedTokenStore& tokens;
};

} // namespace quendra
