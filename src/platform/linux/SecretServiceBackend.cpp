#include "SecretServiceBackend.h"

#include "GObjectRef.h"
#include "model/ApplicationId.h"

#include <QLoggingCategory>

#include <libsecret/secret.h>

#include <memory>

namespace quendra {

namespace {

Q_LOGGING_CATEGORY(keyringLog, QUENDRA_APPLICATION_ID ".keyring")

const SecretSchema* schema() {
    // Items written by other tools with the same attributes match as well.
    static const SecretSchema schema = {"com.orvane.quendra.mac.Credential",
                                        SECRET_SCHEMA_DONT_MATCH_NAME,
                                        {{"service", SECRET_SCHEMA_ATTRIBUTE_STRING},
                                         {"account", SECRET_SCHEMA_ATTRIBUTE_STRING},
                                         {nullptr, SECRET_SCHEMA_ATTRIBUTE_STRING}},
                                        0,
                                        nullptr,
                                        nullptr,
                                        nullptr,
                                        nullptr,
                                        nullptr,
                                        nullptr,
                                        nullptr};
    return &schema;
}

struct ErrorDeleter {
    void operator()(GError* error) const { g_error_free(error); }
};
using ErrorPtr = std::unique_ptr<GError, ErrorDeleter>;

struct HashTableDeleter {
    void operator()(GHashTable* table) const { g_hash_table_unref(table); }
};

struct ItemList {
    GList* list = nullptr;
    ~ItemList() { g_list_free_full(list, g_object_unref); }
};

struct SecretValueDeleter {
    void operator()(SecretValue* value) const { secret_value_unref(value); }
};

std::unique_ptr<GHashTable, HashTableDeleter> attributes(const QByteArray& account) {
    std::unique_ptr<GHashTable, HashTableDeleter> table(
        g_hash_table_new_full(g_str_hash, g_str_equal, g_free, g_free));
    g_hash_table_insert(table.get(), g_strdup("service"), g_strdup(CredentialBackend::serviceName));
    g_hash_table_insert(table.get(), g_strdup("account"), g_strdup(account.constData()));
    return table;
}

void logError(const char* what, GError* error) {
    qCWarning(keyringLog) << what << (error ? error->message : "");
}

} // namespace

CredentialLookup SecretServiceBackend::lookup(const QString& name, bool allowInteraction) {
    GError* raw = nullptr;
    // Searching without unlocking tells a locked item from a missing one;
    // secret_password_lookup would answer "none" for both.
    const auto service = GObjectRef<SecretService>::adopt(secret_service_get_sync(
        SecretServiceFlags(SECRET_SERVICE_OPEN_SESSION | SECRET_SERVICE_LOAD_COLLECTIONS), nullptr,
        &raw));
    ErrorPtr error(raw);
    if (!service) {
        logError("no Secret Service:", error.get());
        return CredentialLookup::unknown();
    }
    const auto query = attributes(name.toUtf8());
    ItemList items;
    items.list = secret_service_search_sync(service.get(), schema(), query.get(), SECRET_SEARCH_ALL,
                                            nullptr, &raw);
    error.reset(raw);
    if (error) {
        logError("keyring search failed:", error.get());
        return CredentialLookup::unknown();
    }
    if (!items.list)
        return CredentialLookup::missing();

    SecretItem* readable = nullptr;
    for (GList* node = items.list; node && !readable; node = node->next)
        if (!secret_item_get_locked(SECRET_ITEM(node->data)))
            readable = SECRET_ITEM(node->data);
    if (!readable && allowInteraction) {
        GList* unlocked = nullptr;
        secret_service_unlock_sync(service.get(), items.list, nullptr, &unlocked, &raw);
        error.reset(raw);
        g_list_free_full(unlocked, g_object_unref);
        for (GList* node = items.list; node && !readable; node = node->next)
            if (!secret_item_get_locked(SECRET_ITEM(node->data)))
                readable = SECRET_ITEM(node->data);
    }
    if (!readable)
        return CredentialLookup::unknown();

    if (!secret_item_load_secret_sync(readable, nullptr, &raw)) {
        error.reset(raw);
        logError("keyring item could not be read:", error.get());
        return CredentialLookup::unknown();
    }
    std::unique_ptr<SecretValue, SecretValueDeleter> secret(secret_item_get_secret(readable));
    const gchar* text = secret ? secret_value_get_text(secret.get()) : nullptr;
    if (!text)
        return CredentialLookup::unknown();
    return CredentialLookup::of(QString::fromUtf8(text));
}

bool SecretServiceBackend::available() {
    GError* raw = nullptr;
    const auto service = GObjectRef<SecretService>::adopt(
        secret_service_get_sync(SECRET_SERVICE_NONE, nullptr, &raw));
    ErrorPtr error(raw);
    return static_cast<bool>(service);
}

bool SecretServiceBackend::save(const QString& name, const QString& value) {
    GError* raw = nullptr;
    const QByteArray account = name.toUtf8();
    const QByteArray label = "Parlevo " + account;
    const QByteArray secret = value.toUtf8();
    const gboolean stored = secret_password_store_sync(
        schema(), SECRET_COLLECTION_DEFAULT, label.constData(), secret.constData(), nullptr, &raw,
        "service", CredentialBackend::serviceName, "account", account.constData(), nullptr);
    ErrorPtr error(raw);
    if (!stored)
        logError("keyring refused to store an item:", error.get());
    return stored;
}

bool SecretServiceBackend::remove(const QString& name) {
    GError* raw = nullptr;
    const QByteArray account = name.toUtf8();
    secret_password_clear_sync(schema(), nullptr, &raw, "service", CredentialBackend::serviceName,
                               "account", account.constData(), nullptr);
    ErrorPtr error(raw);
    if (error) {
        logError("keyring refused to remove an item:", error.get());
        return false;
    }
    return true;
}

std::unique_ptr<CredentialBackend> CredentialBackend::create() {
    return std::make_unique<SecretServiceBackend>();
}

} // namespace quendra
