#include "AccountModel.h"

using namespace Qt::Literals::StringLiterals;

namespace quendra {

std::expected<QString, QString> AccountModel::enterAccessCode(const QString& text) {
    const QString code = text.trimmed();
    if (!HostedTokenStore::isAccessCode(code))
        return std::unexpected(
            u"That doesn’t look like a Parlevo access code. Codes start with pvb_."_s);
    if (!tokens.saveAccessCode(code))
        return std::unexpected(u"The system keyring could not save the code. Try again."_s);
    return u"Signed in with an access code."_s;
}

std::expected<HostedTokenStore::Status, QString> AccountModel::unlock() {
    const HostedTokenStore::Status status = tokens.authorize();
    if (status == HostedTokenStore::Status::locked)
        return std::unexpected(u"Access to the system keyring was not approved. Try again, or sign in again."_s);
    return status;
}

QCoro::Task<> AccountModel::signOut() {
    const std::optional<QString> previous = tokens.token();
    tokens.clearAll();
    if (previous)
        co_await client.signOut(*previous);
}

QCoro::Task<std::expected<QString, QString>> AccountModel::deleteAccount(QString confirmation) {
    if (confirmation != deleteConfirmationWord)
        co_return std::unexpected(deletePlaceholder);
    if (tokens.status() == HostedTokenStore::Status::accessCode)
        co_return std::unexpected(
            u"An access code has no account to delete. Remove it with Sign out."_s);
    auto deleted = co_await client.deleteAccount();
    if (!deleted || !*deleted)
        co_return std::unexpected(u"Your account was not deleted."_s);
    tokens.clearAll();
    co_return u"Your Parlevo account was deleted."_s;
}

} // namespace quendra
