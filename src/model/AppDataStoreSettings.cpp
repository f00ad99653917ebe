#include "AppDataStore.h"

// The scalar choices of the defaults database.

namespace quendra {

namespace {
template <RawValueEnum E>
E readEnum(const UserDefaults& store, const QString& key, E fallback) {
    if (auto raw = store.string(key))
        if (auto value = fromRawValue<E>(*raw))
            return *value;
    return fallback;
}

std::optional<DictationShortcut> readShortcut(const UserDefaults& store, const QString& key) {
    const auto bytes = store.data(key);
    if (!bytes)
        return std::nullopt;
    const auto json = parseJson(*bytes);
    if (!json)
        return std::nullopt;
    try {
        return json->get<DictationShortcut>();
    } catch (const std::exception&) {
        return std::nullopt;
    }
}
} // namespace

DictationStyle AppDataStore::dictationStyle() const {
    return readEnum(store, Keys::dictationStyle, DictationStyle::exact);
}
void AppDataStore::setDictationStyle(DictationStyle style) {
    store.setString(Keys::dictationStyle, rawValue(style).toString());
}

DictationLanguage AppDataStore::dictationLanguage() const {
    return readEnum(store, Keys::dictationLanguage, DictationLanguage::automatic);
}
void AppDataStore::setDictationLanguage(DictationLanguage language) {
    store.setString(Keys::dictationLanguage, rawValue(language).toString());
}

bool AppDataStore::replyAssist() const {
    return store.boolean(Keys::replyAssist).value_or(false);
}
void AppDataStore::setReplyAssist(bool on) {
    store.setBoolean(Keys::replyAssist, on);
}

bool AppDataStore::conversationContextAssist() const {
    return store.boolean(Keys::conversationContextAssist).value_or(false);
}
void AppDataStore::setConversationContextAssist(bool on) {
    store.setBoolean(Keys::conversationContextAssist, on);
}

bool AppDataStore::fieldMicrophoneEnabled() const {
    return store.boolean(Keys::fieldMicrophoneEnabled).value_or(defaultFieldMicrophoneEnabled);
}
void AppDataStore::setFieldMicrophoneEnabled(bool on) {
    store.setBoolean(Keys::fieldMicrophoneEnabled, on);
}

DictationShortcut AppDataStore::dictationShortcut() const {
    return readShortcut(store, Keys::dictationShortcut)
        .value_or(DictationShortcut::defaultDictation());
}
void AppDataStore::setDictationShortcut(const DictationShortcut& shortcut) {
    store.setData(Keys::dictationShortcut, jsonBytes(Json(shortcut)));
}

std::optional<DictationShortcut> AppDataStore::notesRecordingShortcut() const {
    return readShortcut(store, Keys::notesRecordingShortcut);
}
void AppDataStore::setNotesRecordingShortcut(const std::optional<DictationShortcut>& shortcut) {
    if (shortcut)
        store.setData(Keys::notesRecordingShortcut, jsonBytes(Json(*shortcut)));
    else
        store.remove(Keys::notesRecordingShortcut);
}

RecordingDuration AppDataStore::recordingDuration() const {
    if (auto minutes = store.integer(Keys::recordingDuration))
        if (auto duration = fromRawValue<RecordingDuration>(static_cast<int>(*minutes));
            duration && *minutes == rawValue(*duration))
            return *duration;
    return defaultRecordingDuration;
}
void AppDataStore::setRecordingDuration(RecordingDuration duration) {
    store.setInteger(Keys::recordingDuration, rawValue(duration));
}

DictationModel AppDataStore::dictationModel() const {
    return readEnum(store, Keys::dictationModel, defaultDictationModel);
}
void AppDataStore::setDictationModel(DictationModel model) {
    store.setString(Keys::dictationModel, rawValue(model).toString());
}

bool AppDataStore::allowModelFallback() const {
    return store.boolean(Keys::allowModelFallback).value_or(defaultAllowModelFallback);
}
void AppDataStore::setAllowModelFallback(bool on) {
    store.setBoolean(Keys::allowModelFallback, on);
}

bool AppDataStore::reviewArchiveEnabled() const {
    return store.boolean(Keys::reviewArchiveEnabled).value_or(false);
}
void AppDataStore::setReviewArchiveEnabled(bool on) {
    store.setBoolean(Keys::reviewArchiveEnabled, on);
}

bool AppDataStore::configuredLaunchAtLogin() const {
    return store.boolean(Keys::configuredLaunchAtLogin).value_or(false);
}
void AppDataStore::setConfiguredLaunchAtLogin(bool on) {
    store.setBoolean(Keys::configuredLaunchAtLogin, on);
}

} // namespace quendra
