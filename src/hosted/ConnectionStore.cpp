#include "ConnectionStore.h"

using namespace Qt::Literals::StringLiterals;

namespace quendra {

std::optional<QString> ConnectionStore::connectionKey(const QString& provider) {
    const CredentialLookup found = lookup(provider);
    if (found.kind != CredentialLookup::Kind::value || found.value.isEmpty())
        return std::nullopt;
    return found.value;
}

std::expected<void, QString> ConnectionStore::saveConnectionKey(const QString& provider,
                                                                const QString& key) {
    if (!save(provider, key.trimmed()))
        return std::unexpected(u"The system keyring could not save the connection. Try again."_s);
    return {};
}

} // namespace quendra
