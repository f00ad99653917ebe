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
StoreResult<> AppDataStore::setDictationStyle(DictationStyle style) {
    return store.setString(Keys::dictationStyle, rawValue(style).toString());
}

DictationLanguage AppDataStore::dictationLanguage() const {
    return readEnum(store, Keys::dictationLanguage, DictationLanguage::automatic);
}
StoreResult<> AppDataStore::setDictationLanguage(DictationLanguage language) {
    return store.setString(Keys::dictationLanguage, rawValue(language).toString());
}

bool AppDataStore::replyAssist() const {
    return store.boolean(Keys::replyAssist).value_or(false);
}
StoreResult<> AppDataStore::setReplyAssist(bool on) {
    return store.setBoolean(Keys::replyAssist, on);
}

bool AppDataStore::conversationContextAssist() const {
    return store.boolean(Keys::conversationContextAssist).value_or(false);
}
StoreResult<> AppDataStore::setConversationContextAssist(bool on) {
    return store.setBoolean(Keys::conversationContextAssist, on);
}

bool AppDataStore::fieldMicrophoneEnabled() const {
    return store.boolean(Keys::fieldMicrophoneEnabled).value_or(defaultFieldMicrophoneEnabled);
}
StoreResult<> AppDataStore::setFieldMicrophoneEnabled(bool on) {
    return store.setBoolean(Keys::fieldMicrophoneEnabled, on);
}

DictationShortcut AppDataStore::dictationShortcut() const {
    return readShortcut(store, Keys::dictationShortcut)
        .value_or(DictationShortcut::defaultDictation());
}
StoreResult<> AppDataStore::setDictationShortcut(const DictationShortcut& shortcut) {
    return store.setData(Keys::dictationShortcut, jsonBytes(Json(shortcut)));
}

std::optional<DictationShortcut> AppDataStore::notesRecordingShortcut() const {
    return readShortcut(store, Keys::notesRecordingShortcut);
}
StoreResult<>
AppDataStore::setNotesRecordingShortcut(const std::optional<DictationShortcut>& shortcut) {
    if (shortcut)
        return store.setData(Keys::notesRecordingShortcut, jsonBytes(Json(*shortcut)));
    return store.remove(Keys::notesRecordingShortcut);
}

RecordingDuration AppDataStore::recordingDuration() const {
    if (auto minutes = store.integer(Keys::recordingDuration))
        if (auto duration = fromRawValue<RecordingDuration>(static_cast<int>(*minutes));
            duration && *minutes == rawValue(*duration))
            return *duration;
    return defaultRecordingDuration;
}
StoreResult<> AppDataStore::setRecordingDuration(RecordingDuration duration) {
    return store.setInteger(Keys::recordingDuration, rawValue(duration));
}

DictationModel AppDataStore::dictationModel(bool savedSignIn) const {
    return readEnum(store, Keys::dictationModel,
                    savedSignIn ? DictationModel::hosted : DictationModel::offline);
}
StoreResult<> AppDataStore::setDictationModel(DictationModel model) {
    return store.setString(Keys::dictationModel, rawValue(model).toString());
}

bool AppDataStore::allowModelFallback() const {
    return store.boolean(Keys::allowModelFallback).value_or(defaultAllowModelFallback);
}
StoreResult<> AppDataStore::setAllowModelFallback(bool on) {
    return store.setBoolean(Keys::allowModelFallback, on);
}

bool AppDataStore::reviewArchiveEnabled() const {
    return store.boolean(Keys::reviewArchiveEnabled).value_or(false);
}
StoreResult<> AppDataStore::setReviewArchiveEnabled(bool on) {
    return store.setBoolean(Keys::reviewArchiveEnabled, on);
}

bool AppDataStore::configuredLaunchAtLogin() const {
    return store.boolean(Keys::configuredLaunchAtLogin).value_or(false);
}
StoreResult<> AppDataStore::setConfiguredLaunchAtLogin(bool on) {
    return store.setBoolean(Keys::configuredLaunchAtLogin, on);
}

} // namespace quendra
