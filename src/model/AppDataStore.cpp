#include "AppDataStore.h"

#include "TextBounding.h"

#include <QCollator>
#include <QRegularExpression>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

// A localised, case-insensitive order; equal keys keep their order.
template <typename T, typename Key>
void sortByText(QList<T>& list, Key key) {
    QCollator collator;
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    std::stable_sort(list.begin(), list.end(),
                     [&](const T& a, const T& b) { return collator.compare(key(a), key(b)) < 0; });
}

QString normalisedSpokenForm(const QString& form) {
    QString joined = form.simplified();
    if (characterCount(joined) > AppDataStore::spokenFormLimit)
        joined = prefixCharacters(joined, AppDataStore::spokenFormLimit).trimmed();
    return joined;
}

void sortNewestFirst(QList<TranscriptEntry>& entries) {
    std::stable_sort(entries.begin(), entries.end(),
                     [](const auto& a, const auto& b) { return a.createdAt > b.createdAt; });
}

} // namespace

AppDataStore::AppDataStore(UserDefaults& defaults, std::function<QDateTime()> now)
    : store(defaults)
    , now(std::move(now)) {}

template <typename T>
QList<T> AppDataStore::readList(const QString& key) const {
    const auto bytes = store.data(key);
    return bytes ? decodeList<T>(*bytes) : QList<T>{};
}

QList<PersonalDictionaryEntry> AppDataStore::decodeLegacyDictionary(const QByteArray& bytes) {
    QList<PersonalDictionaryEntry> entries;
    const auto json = parseJson(bytes);
    if (!json || !json->is_array())
        return entries;
    for (const auto& element : *json)
        if (element.is_string())
            entries.append(
                {QUuid::createUuid(), QString::fromStdString(element.get<std::string>()), {}});
    return entries;
}

template <typename T>
void AppDataStore::writeList(const QString& key, const QList<T>& list) const {
    QByteArray bytes;
    try {
        bytes = jsonBytes(Json(list));
    } catch (const nlohmann::json::exception&) {
        return; // the previous stored value stays
    }
    store.setData(key, bytes);
}

QList<PersonalDictionaryEntry>
AppDataStore::normalised(const QList<PersonalDictionaryEntry>& entries) {
    QList<PersonalDictionaryEntry> kept;
    QStringList seenSpellings;
    for (const auto& entry : entries) {
        const QString spelling = boundText(entry.spelling, spellingLimit);
        if (spelling.isEmpty() || seenSpellings.contains(spelling.toLower()))
            continue;
        seenSpellings << spelling.toLower();
        QStringList forms;
        QStringList seenForms;
        for (const auto& raw : entry.spokenForms) {
            const QString form = normalisedSpokenForm(raw);
            if (form.isEmpty() || seenForms.contains(form.toLower()))
                continue;
            seenForms << form.toLower();
            forms << form;
            if (forms.size() == spokenFormsPerEntry)
                break;
        }
        kept.append({entry.id, spelling, forms});
    }
    sortByText(kept, [](const PersonalDictionaryEntry& e) { return e.spelling; });
    return kept;
}

QList<PersonalDictionaryEntry> AppDataStore::dictionaryEntries() const {
    if (store.contains(Keys::personalDictionaryV2))
        return normalised(readList<PersonalDictionaryEntry>(Keys::personalDictionaryV2));

    // First read after the upgrade: the legacy list of spellings becomes
    // entries; the legacy key stays for older versions of the app.
    const auto legacy = store.data(Keys::personalDictionary);
    const auto migrated =
        normalised(legacy ? decodeLegacyDictionary(*legacy) : QList<PersonalDictionaryEntry>{});
    writeList(Keys::personalDictionaryV2, migrated);
    return migrated;
}

void AppDataStore::writeDictionary(const QList<PersonalDictionaryEntry>& entries) const {
    writeList(Keys::personalDictionaryV2, normalised(entries));
}

bool AppDataStore::addDictionaryEntry(const PersonalDictionaryEntry& entry) {
    return saveReviewedSpelling(entry.spelling, entry.spokenForms, entry.id);
}

bool AppDataStore::saveReviewedSpelling(const QString& spelling, const QStringList& forms,
                                        std::optional<QUuid> replacing) {
    const auto candidate = normalised({{replacing.value_or(QUuid::createUuid()), spelling, forms}});
    if (candidate.isEmpty())
        return false;
    PersonalDictionaryEntry entry = candidate.first();
    auto entries = dictionaryEntries();
    auto byId = std::find_if(entries.begin(), entries.end(),
                             [&](const auto& e) { return replacing && e.id == *replacing; });
    if (byId != entries.end()) {
        *byId = entry;
    } else {
        auto bySpelling = std::find_if(entries.begin(), entries.end(), [&](const auto& e) {
            return e.spelling.compare(entry.spelling, Qt::CaseInsensitive) == 0;
        });
        if (bySpelling != entries.end() && !replacing) {
            bySpelling->spelling = entry.spelling;
            bySpelling->spokenForms += entry.spokenForms;
        } else {
            // An entry with a new identifier comes first so that it wins over
            // an older entry of the same spelling.
            entries.prepend(entry);
        }
    }
    writeDictionary(entries);
    return true;
}

void AppDataStore::removeDictionaryEntry(const QUuid& id) {
    auto entries = dictionaryEntries();
    entries.removeIf([&](const auto& e) { return e.id == id; });
    writeDictionary(entries);
}

void AppDataStore::importWord(const std::optional<PersonalDictionaryEntry>& entry,
                              const QUuid& id) {
    auto entries = dictionaryEntries();
    auto it =
        std::find_if(entries.begin(), entries.end(), [&](const auto& e) { return e.id == id; });
    if (!entry) {
        if (it != entries.end())
            entries.erase(it);
    } else if (it != entries.end()) {
        *it = *entry;
        it->id = id;
    } else {
        PersonalDictionaryEntry added = *entry;
        added.id = id;
        entries.append(added);
    }
    writeDictionary(entries);
}

QList<VoiceSnippet> AppDataStore::snippets() const {
    auto list = readList<VoiceSnippet>(Keys::voiceSnippets);
    sortByText(list, [](const VoiceSnippet& s) { return s.trigger; });
    return list;
}

bool AppDataStore::saveSnippet(const QString& trigger, const QString& expansion) {
    const QString boundTrigger = boundText(trigger, triggerLimit);
    const QString boundExpansion = prefixCharacters(expansion.trimmed(), expansionLimit);
    if (boundTrigger.isEmpty() || boundExpansion.isEmpty())
        return false;
    auto list = readList<VoiceSnippet>(Keys::voiceSnippets);
    auto it = std::find_if(list.begin(), list.end(), [&](const auto& s) {
        return s.trigger.compare(boundTrigger, Qt::CaseInsensitive) == 0;
    });
    if (it != list.end()) {
        it->trigger = boundTrigger;
        it->expansion = boundExpansion;
    } else {
        list.append({QUuid::createUuid(), boundTrigger, boundExpansion});
    }
    writeList(Keys::voiceSnippets, list);
    return true;
}

void AppDataStore::removeSnippet(const QUuid& id) {
    auto list = readList<VoiceSnippet>(Keys::voiceSnippets);
    list.removeIf([&](const auto& s) { return s.id == id; });
    writeList(Keys::voiceSnippets, list);
}

void AppDataStore::importSnippet(const std::optional<VoiceSnippet>& snippet, const QUuid& id) {
    auto list = readList<VoiceSnippet>(Keys::voiceSnippets);
    auto it = std::find_if(list.begin(), list.end(), [&](const auto& s) { return s.id == id; });
    if (!snippet) {
        if (it != list.end())
            list.erase(it);
    } else if (it != list.end()) {
        *it = *snippet;
        it->id = id;
    } else {
        VoiceSnippet added = *snippet;
        added.id = id;
        list.append(added);
    }
    writeList(Keys::voiceSnippets, list);
}

QList<TranscriptEntry> AppDataStore::history() const {
    auto entries = readList<TranscriptEntry>(Keys::transcriptHistory);
    // Captured field text is never kept longer than a day.
    const QDateTime cutoff = now().addSecs(-contextRetentionSeconds);
    bool purged = false;
    for (auto& entry : entries) {
        auto& settings = entry.dictationSettings;
        if (settings && settings->hasContext() && entry.createdAt < cutoff) {
            settings->contextBefore.reset();
            settings->contextAfter.reset();
            settings->conversationContext.reset();
            purged = true;
        }
    }
    if (purged)
        writeList(Keys::transcriptHistory, entries);
    sortNewestFirst(entries);
    return entries;
}

void AppDataStore::writeHistory(QList<TranscriptEntry> entries) const {
    if (entries.size() > historyLimit)
        entries.resize(historyLimit);
    writeList(Keys::transcriptHistory, entries);
}

void AppDataStore::addHistory(const TranscriptEntry& entry) {
    auto entries = history();
    entries.removeIf([&](const auto& e) { return e.id == entry.id; });
    entries.prepend(entry);
    writeHistory(entries);
}

void AppDataStore::importHistory(const TranscriptEntry& entry) {
    auto entries = history();
    auto it = std::find_if(entries.begin(), entries.end(),
                           [&](const auto& e) { return e.id == entry.id; });
    if (it != entries.end())
        *it = entry;
    else
        entries.append(entry);
    sortNewestFirst(entries);
    writeHistory(entries);
}

QMap<WritingSurface, DictationStyle> AppDataStore::surfaceStyles() const {
    QMap<WritingSurface, DictationStyle> styles;
    const auto stored = store.stringMap(Keys::surfaceStyles).value_or(QMap<QString, QString>{});
    for (auto it = stored.begin(); it != stored.end(); ++it) {
        auto surface = fromRawValue<WritingSurface>(it.key());
        auto style = fromRawValue<DictationStyle>(it.value());
        if (surface && style)
            styles.insert(*surface, *style);
    }
    return styles;
}

void AppDataStore::setStyle(std::optional<DictationStyle> style, WritingSurface surface) {
    auto stored = store.stringMap(Keys::surfaceStyles).value_or(QMap<QString, QString>{});
    const QString key = rawValue(surface).toString();
    if (style)
        stored.insert(key, rawValue(*style).toString());
    else
        stored.remove(key);
    store.setStringMap(Keys::surfaceStyles, stored);
}

QString AppDataStore::normalisedSuggestionWord(const QString& word) {
    static const QRegularExpression notLetterOrDigit(
        u"[^\\p{L}\\p{N}]"_s, QRegularExpression::UseUnicodePropertiesOption);
    return word.toLower().remove(notLetterOrDigit);
}

QStringList AppDataStore::dismissedWordSuggestions() const {
    return store.stringList(Keys::dismissedWordSuggestions).value_or(QStringList{});
}

void AppDataStore::dismissWordSuggestions(const QStringList& words) {
    QStringList stored = dismissedWordSuggestions();
    for (const auto& word : words) {
        const QString normal = normalisedSuggestionWord(word);
        if (!normal.isEmpty() && !stored.contains(normal))
            stored << normal;
    }
    store.setStringList(Keys::dismissedWordSuggestions, stored);
}

} // namespace quendra
