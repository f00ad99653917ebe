#pragma once

#include "DictationLanguage.h"
#include "DictationModel.h"
#include "DictationShortcut.h"
#include "DictationStyle.h"
#include "DictionaryRecords.h"
#include "RecordingDuration.h"
#include "StoreError.h"
#include "TranscriptEntry.h"
#include "UserDefaults.h"
#include "WritingSurface.h"

#include <QDateTime>
#include <QMap>

#include <functional>
#include <optional>

namespace quendra {

// What one merge of many entries into a stored list did, entry by entry.
struct ImportCounts {
    qsizetype added = 0;    // new to the list
    qsizetype merged = 0;   // merged into one that was already there
    qsizetype repeated = 0; // merged into an earlier one of the same merge
};

// The user's lists and choices of the dictation side, kept in the defaults
// database as JSON. Every read and write applies the normalisation rules and
// caps, so whatever is stored stays within them. Each change is one locked
// read-modify-write of the database; a stored list that does not decode in
// full is copied aside before a change writes over it. Main thread only.
class AppDataStore {
public:
    // The keys of the defaults database.
    struct Keys {
        static inline const QString personalDictionaryV2 = QStringLiteral("personalDictionaryV2");
        static inline const QString personalDictionary = QStringLiteral("personalDictionary");
        static inline const QString voiceSnippets = QStringLiteral("voiceSnippets");
        static inline const QString transcriptHistory = QStringLiteral("transcriptHistory");
        static inline const QString surfaceStyles = QStringLiteral("surfaceStyles");
        static inline const QString dismissedWordSuggestions =
            QStringLiteral("dismissedWordSuggestionsV1");
        static inline const QString dictationStyle = QStringLiteral("dictationStyle");
        static inline const QString dictationLanguage = QStringLiteral("dictationLanguage");
        static inline const QString replyAssist = QStringLiteral("replyAssist");
        static inline const QString conversationContextAssist =
            QStringLiteral("conversationContextAssistV1");
        static inline const QString fieldMicrophoneEnabled =
            QStringLiteral("fieldMicrophoneEnabled");
        static inline const QString dictationShortcut = QStringLiteral("dictationShortcut");
        static inline const QString notesRecordingShortcut =
            QStringLiteral("notesRecordingShortcut");
        static inline const QString recordingDuration = QStringLiteral("recordingDuration");
        static inline const QString dictationModel = QStringLiteral("dictationModel");
        static inline const QString allowModelFallback = QStringLiteral("allowModelFallback");
        static inline const QString reviewArchiveEnabled = QStringLiteral("reviewArchiveEnabled");
        static inline const QString configuredLaunchAtLogin =
            QStringLiteral("configuredLaunchAtLogin");
    };

    static constexpr qsizetype spellingLimit = 80;
    static constexpr qsizetype spokenFormLimit = 80;
    static constexpr qsizetype spokenFormsPerEntry = 8;
    static constexpr qsizetype triggerLimit = 80;
    static constexpr qsizetype expansionLimit = 2000;
    static constexpr qsizetype historyLimit = 60;
    static constexpr qint64 contextRetentionSeconds = 86400;

    // `now` is the clock used for the one-day context purge; tests replace it.
    explicit AppDataStore(UserDefaults& defaults,
                          std::function<QDateTime()> now = &QDateTime::currentDateTimeUtc);

    UserDefaults& defaults() const { return store; }

    // Personal dictionary.
    QList<PersonalDictionaryEntry> dictionaryEntries() const;
    [[nodiscard]] StoreResult<> addDictionaryEntry(const PersonalDictionaryEntry& entry);
    // Adds a spelling, or replaces the entry with `replacing`. Without an
    // identifier, a spelling already in the list (in any case) takes the new
    // spelling and gains the new forms. An `invalid` error when nothing valid
    // remains.
    [[nodiscard]] StoreResult<> saveReviewedSpelling(const QString& spelling,
                                                     const QStringList& forms,
                                                     std::optional<QUuid> replacing = std::nullopt);
    [[nodiscard]] StoreResult<> removeDictionaryEntry(const QUuid& id);
    // Saves many entries in one change, each merged as saveReviewedSpelling
    // merges a spelling without an identifier; an entry keeps its identifier
    // when no other entry has it. Nothing is saved, with an `invalid` error,
    // when one of them has an empty spelling.
    [[nodiscard]] StoreResult<ImportCounts>
    mergeDictionary(const QList<PersonalDictionaryEntry>& entries);
    // Merges one entry from the workspace; none removes the local one.
    [[nodiscard]] StoreResult<> importWord(const std::optional<PersonalDictionaryEntry>& entry,
                                           const QUuid& id);

    // Voice snippets, in a stable order by trigger.
    QList<VoiceSnippet> snippets() const;
    // An `invalid` error when the trigger or the expansion is empty.
    [[nodiscard]] StoreResult<> saveSnippet(const QString& trigger, const QString& expansion);
    // Saves many snippets in one change, each as saveSnippet saves it (the
    // last of one trigger wins); a snippet keeps its identifier when no other
    // has it. Nothing is saved when one of them is not valid.
    [[nodiscard]] StoreResult<ImportCounts> mergeSnippets(const QList<VoiceSnippet>& snippets);
    // The snippet as the list keeps it: trigger and expansion bounded; an
    // `invalid` error when either is empty.
    static StoreResult<VoiceSnippet> boundSnippet(const VoiceSnippet& snippet);
    [[nodiscard]] StoreResult<> removeSnippet(const QUuid& id);
    [[nodiscard]] StoreResult<> importSnippet(const std::optional<VoiceSnippet>& snippet,
                                              const QUuid& id);

    // History, newest first; context text older than a day is purged on read.
    QList<TranscriptEntry> history() const;
    [[nodiscard]] StoreResult<> addHistory(const TranscriptEntry& entry);
    // Replaces the entry with the same identifier where it stands, or adds it.
    [[nodiscard]] StoreResult<> importHistory(const TranscriptEntry& entry);
    [[nodiscard]] StoreResult<> removeHistory(const QUuid& id);

    // Per-surface style overrides.
    QMap<WritingSurface, DictationStyle> surfaceStyles() const;
    [[nodiscard]] StoreResult<> setStyle(std::optional<DictationStyle> style,
                                         WritingSurface surface);

    // Words the user turned down as dictionary suggestions, normalised.
    QStringList dismissedWordSuggestions() const;
    [[nodiscard]] StoreResult<> dismissWordSuggestions(const QStringList& words);
    static QString normalisedSuggestionWord(const QString& word);

    // Replaces each trigger said as its own words by its expansion.
    QString expandSnippet(const QString& text) const;
    static QString expandSnippet(const QString& text, const QList<VoiceSnippet>& matching);

    // Scalar choices; each getter gives its default when the key is absent or unreadable.
    DictationStyle dictationStyle() const;
    [[nodiscard]] StoreResult<> setDictationStyle(DictationStyle style);
    DictationLanguage dictationLanguage() const;
    [[nodiscard]] StoreResult<> setDictationLanguage(DictationLanguage language);
    bool replyAssist() const;
    [[nodiscard]] StoreResult<> setReplyAssist(bool on);
    bool conversationContextAssist() const;
    [[nodiscard]] StoreResult<> setConversationContextAssist(bool on);
    bool fieldMicrophoneEnabled() const;
    [[nodiscard]] StoreResult<> setFieldMicrophoneEnabled(bool on);
    DictationShortcut dictationShortcut() const;
    [[nodiscard]] StoreResult<> setDictationShortcut(const DictationShortcut& shortcut);
    std::optional<DictationShortcut> notesRecordingShortcut() const;
    [[nodiscard]] StoreResult<>
    setNotesRecordingShortcut(const std::optional<DictationShortcut>& shortcut);
    RecordingDuration recordingDuration() const;
    [[nodiscard]] StoreResult<> setRecordingDuration(RecordingDuration duration);
    // The chosen model; with none chosen, the hosted one for someone who has
    // signed in on this computer and the offline engine for everyone else, so
    // that a new user dictates at once.
    DictationModel dictationModel(bool savedSignIn) const;
    [[nodiscard]] StoreResult<> setDictationModel(DictationModel model);
    bool allowModelFallback() const;
    [[nodiscard]] StoreResult<> setAllowModelFallback(bool on);
    bool reviewArchiveEnabled() const;
    [[nodiscard]] StoreResult<> setReviewArchiveEnabled(bool on);
    bool configuredLaunchAtLogin() const;
    [[nodiscard]] StoreResult<> setConfiguredLaunchAtLogin(bool on);

    // The defaults the getters fall back to.
    static constexpr RecordingDuration defaultRecordingDuration = RecordingDuration::ten;
    static constexpr bool defaultAllowModelFallback = true;
    static constexpr bool defaultFieldMicrophoneEnabled = false;

    static QList<PersonalDictionaryEntry> normalised(const QList<PersonalDictionaryEntry>& entries);
    // One entry as the list keeps it: spelling and spoken forms bounded, forms
    // without repeats; none when the spelling is empty.
    static std::optional<PersonalDictionaryEntry>
    normalisedEntry(const PersonalDictionaryEntry& entry);

    // The stored forms of the lists. A list that is not JSON, or not an array,
    // is empty; an element that does not decode costs only itself. `whole`,
    // when given, tells whether nothing was lost that way.
    template <typename T>
    static QList<T> decodeList(const QByteArray& bytes, bool* whole = nullptr);
    // The legacy dictionary: an array of spellings, each made a new entry.
    static QList<PersonalDictionaryEntry> decodeLegacyDictionary(const QByteArray& bytes);

private:
    template <typename T>
    QList<T> readList(const QString& key) const;
    // Reads a list that is about to be written over: what did not decode is
    // first copied aside, and the user told where.
    template <typename T>
    StoreResult<QList<T>> readListToChange(const QString& key) const;
    template <typename T>
    StoreResult<> writeList(const QString& key, const QList<T>& list) const;
    StoreResult<QList<PersonalDictionaryEntry>> dictionaryToChange() const;
    StoreResult<> writeDictionary(const QList<PersonalDictionaryEntry>& entries) const;
    StoreResult<> writeHistory(QList<TranscriptEntry> entries) const;
    // One locked change of the history as stored now, old context purged.
    StoreResult<> changeHistory(const std::function<void(QList<TranscriptEntry>&)>& edit) const;
    QList<TranscriptEntry> purgedHistory(QList<TranscriptEntry> entries, bool* purged) const;

    UserDefaults& store;
    std::function<QDateTime()> now;
};

template <typename T>
QList<T> AppDataStore::decodeList(const QByteArray& bytes, bool* whole) {
    const auto json = parseJson(bytes);
    if (whole)
        *whole = json && json->is_array();
    return json ? decodeElements<T>(*json, whole) : QList<T>{};
}

} // namespace quendra
