#include "AppDataStore.h"

#include "DurableFile.h"
#include "TextBounding.h"

#include <QFileInfo>
#include <QHash>
#include <QSet>

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

// Spellings, and snippet triggers, that differ only in case are one.
QString spellingKey(const QString& text) {
    return text.toLower();
}

// Adds entries to a list, or merges each into the one already there under the
// same key; an added entry keeps its identifier unless another has it.
template <typename T>
class KeyedMerge {
public:
    using Key = QString (*)(const T&);
    KeyedMerge(QList<T>& list, Key key)
        : list(list)
        , key(key) {
        for (qsizetype i = 0; i < list.size(); ++i) {
            index.insert(key(list[i]), i); // the first of a key wins
            ids.insert(list[i].id);
        }
    }

    // The position of the element `element` was merged into; none when added.
    template <typename Merge>
    std::optional<qsizetype> add(T element, Merge merge) {
        if (const auto it = index.constFind(key(element)); it != index.constEnd()) {
            merge(list[*it], element);
            return *it;
        }
        if (element.id.isNull() || ids.contains(element.id))
            element.id = QUuid::createUuid();
        ids.insert(element.id);
        index.insert(key(element), list.size());
        list.append(std::move(element));
        return std::nullopt;
    }

    // Adds or merges every element and counts what each did.
    template <typename Merge>
    ImportCounts addAll(const QList<T>& elements, Merge merge) {
        ImportCounts counts;
        QSet<qsizetype> touched;
        for (const T& element : elements) {
            const auto at = add(element, merge);
            if (!at) {
                ++counts.added;
                touched.insert(list.size() - 1);
            } else if (touched.contains(*at)) {
                ++counts.repeated;
            } else {
                ++counts.merged;
                touched.insert(*at);
            }
        }
        return counts;
    }

private:
    QList<T>& list;
    Key key;
    QHash<QString, qsizetype> index;
    QSet<QUuid> ids;
};

QString entryKey(const PersonalDictionaryEntry& entry) {
    return spellingKey(entry.spelling);
}

QString snippetKey(const VoiceSnippet& snippet) {
    return spellingKey(snippet.trigger);
}

// A spelling saved again takes the new case and gains the new forms.
void mergeSpelling(PersonalDictionaryEntry& kept, const PersonalDictionaryEntry& added) {
    kept.spelling = added.spelling;
    kept.spokenForms += added.spokenForms;
}

// A trigger saved again takes the new case and the new expansion.
void mergeSnippet(VoiceSnippet& kept, const VoiceSnippet& added) {
    kept.trigger = added.trigger;
    kept.expansion = added.expansion;
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

namespace {

QString listName(const QString& key) {
    if (key == AppDataStore::Keys::voiceSnippets)
        return u"voice snippets"_s;
    if (key == AppDataStore::Keys::transcriptHistory)
        return u"history"_s;
    return u"Words"_s;
}

StoreError invalid(const QString& sentence) {
    return {StoreError::Kind::invalid, sentence};
}

} // namespace

template <typename T>
StoreResult<QList<T>> AppDataStore::readListToChange(const QString& key) const {
    const auto bytes = store.data(key);
    if (!bytes)
        return QList<T>{};
    bool whole = true;
    QList<T> list = decodeList<T>(*bytes, &whole);
    if (whole)
        return list;
    // The part that did not decode would be gone with this write.
    const QString folder = QFileInfo(store.filePath()).absolutePath();
    auto copy = DurableFile::keepAside(folder + u'/' + key + u".json"_s, *bytes);
    if (!copy)
        return std::unexpected(copy.error());
    store.addNotice(u"Part of your %1 could not be read. The stored list is kept at %2."_s.arg(
        listName(key), *copy));
    return list;
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
StoreResult<> AppDataStore::writeList(const QString& key, const QList<T>& list) const {
    QByteArray bytes;
    try {
        bytes = jsonBytes(Json(list));
    } catch (const nlohmann::json::exception&) {
        return std::unexpected(
            invalid(u"Your %1 could not be saved: the list does not encode."_s.arg(listName(key))));
    }
    return store.setData(key, bytes);
}

std::optional<PersonalDictionaryEntry>
AppDataStore::normalisedEntry(const PersonalDictionaryEntry& entry) {
    const QString spelling = boundText(entry.spelling, spellingLimit);
    if (spelling.isEmpty())
        return std::nullopt;
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
    return PersonalDictionaryEntry{entry.id, spelling, forms};
}

QList<PersonalDictionaryEntry>
AppDataStore::normalised(const QList<PersonalDictionaryEntry>& entries) {
    QList<PersonalDictionaryEntry> kept;
    QSet<QString> seenSpellings;
    for (const auto& entry : entries) {
        auto normal = normalisedEntry(entry);
        if (!normal || seenSpellings.contains(spellingKey(normal->spelling)))
            continue;
        seenSpellings.insert(spellingKey(normal->spelling));
        kept.append(std::move(*normal));
    }
    sortByText(kept, [](const PersonalDictionaryEntry& e) { return e.spelling; });
    return kept;
}

QList<PersonalDictionaryEntry> AppDataStore::dictionaryEntries() const {
    if (store.contains(Keys::personalDictionaryV2))
        return normalised(readList<PersonalDictionaryEntry>(Keys::personalDictionaryV2));
    if (!store.contains(Keys::personalDictionary))
        return {};
    // First read after the upgrade: the legacy list of spellings becomes
    // entries once, so that their identifiers stay; the legacy key stays for
    // older versions of the app. A failed save is tried again on the next read.
    (void)store.change([&]() -> StoreResult<> {
        if (store.contains(Keys::personalDictionaryV2))
            return {}; // another process migrated it meanwhile
        const auto legacy = store.data(Keys::personalDictionary);
        return writeDictionary(legacy ? decodeLegacyDictionary(*legacy)
                                      : QList<PersonalDictionaryEntry>{});
    });
    if (store.contains(Keys::personalDictionaryV2))
        return normalised(readList<PersonalDictionaryEntry>(Keys::personalDictionaryV2));
    const auto legacy = store.data(Keys::personalDictionary);
    return normalised(legacy ? decodeLegacyDictionary(*legacy) : QList<PersonalDictionaryEntry>{});
}

StoreResult<QList<PersonalDictionaryEntry>> AppDataStore::dictionaryToChange() const {
    if (!store.contains(Keys::personalDictionaryV2)) {
        const auto legacy = store.data(Keys::personalDictionary);
        return normalised(legacy ? decodeLegacyDictionary(*legacy)
                                 : QList<PersonalDictionaryEntry>{});
    }
    auto entries = readListToChange<PersonalDictionaryEntry>(Keys::personalDictionaryV2);
    if (!entries)
        return std::unexpected(entries.error());
    return normalised(*entries);
}

StoreResult<> AppDataStore::writeDictionary(const QList<PersonalDictionaryEntry>& entries) const {
    return writeList(Keys::personalDictionaryV2, normalised(entries));
}

StoreResult<> AppDataStore::addDictionaryEntry(const PersonalDictionaryEntry& entry) {
    return saveReviewedSpelling(entry.spelling, entry.spokenForms, entry.id);
}

StoreResult<> AppDataStore::saveReviewedSpelling(const QString& spelling, const QStringList& forms,
                                                 std::optional<QUuid> replacing) {
    const auto candidate =
        normalisedEntry({replacing.value_or(QUuid::createUuid()), spelling, forms});
    if (!candidate)
        return std::unexpected(invalid(u"The spelling is empty."_s));
    const PersonalDictionaryEntry& entry = *candidate;
    return store.change([&]() -> StoreResult<> {
        auto entries = dictionaryToChange();
        if (!entries)
            return std::unexpected(entries.error());
        auto byId = std::find_if(entries->begin(), entries->end(),
                                 [&](const auto& e) { return replacing && e.id == *replacing; });
        if (byId != entries->end()) {
            *byId = entry;
        } else if (!replacing) {
            KeyedMerge(*entries, entryKey).add(entry, mergeSpelling);
        } else {
            // An entry with a new identifier comes first so that it wins
            // over an older entry of the same spelling.
            entries->prepend(entry);
        }
        return writeDictionary(*entries);
    });
}

StoreResult<ImportCounts>
AppDataStore::mergeDictionary(const QList<PersonalDictionaryEntry>& entries) {
    QList<PersonalDictionaryEntry> incoming;
    incoming.reserve(entries.size());
    for (const auto& entry : entries) {
        auto normal = normalisedEntry(entry);
        if (!normal)
            return std::unexpected(invalid(u"The spelling is empty."_s));
        incoming.append(std::move(*normal));
    }
    ImportCounts counts;
    auto changed = store.change([&]() -> StoreResult<> {
        auto stored = dictionaryToChange();
        if (!stored)
            return std::unexpected(stored.error());
        counts = KeyedMerge(*stored, entryKey).addAll(incoming, mergeSpelling);
        return writeDictionary(*stored);
    });
    if (!changed)
        return std::unexpected(changed.error());
    return counts;
}

StoreResult<> AppDataStore::removeDictionaryEntry(const QUuid& id) {
    return store.change([&]() -> StoreResult<> {
        auto entries = dictionaryToChange();
        if (!entries)
            return std::unexpected(entries.error());
        if (entries->removeIf([&](const auto& e) { return e.id == id; }) == 0)
            return std::unexpected(
                StoreError{StoreError::Kind::missing, u"That word is no longer in your Words."_s});
        return writeDictionary(*entries);
    });
}

// Replaces, adds or (with none) removes the element of `list` with `id`.
template <typename T>
static void mergeById(QList<T>& list, const std::optional<T>& element, const QUuid& id) {
    auto it = std::find_if(list.begin(), list.end(), [&](const auto& e) { return e.id == id; });
    if (!element) {
        if (it != list.end())
            list.erase(it);
    } else if (it != list.end()) {
        *it = *element;
        it->id = id;
    } else {
        T added = *element;
        added.id = id;
        list.append(added);
    }
}

StoreResult<> AppDataStore::importWord(const std::optional<PersonalDictionaryEntry>& entry,
                                       const QUuid& id) {
    return store.change([&]() -> StoreResult<> {
        auto entries = dictionaryToChange();
        if (!entries)
            return std::unexpected(entries.error());
        mergeById(*entries, entry, id);
        return writeDictionary(*entries);
    });
}

QList<VoiceSnippet> AppDataStore::snippets() const {
    auto list = readList<VoiceSnippet>(Keys::voiceSnippets);
    sortByText(list, [](const VoiceSnippet& s) { return s.trigger; });
    return list;
}

StoreResult<VoiceSnippet> AppDataStore::boundSnippet(const VoiceSnippet& snippet) {
    const QString trigger = boundText(snippet.trigger, triggerLimit);
    const QString expansion = prefixCharacters(snippet.expansion.trimmed(), expansionLimit);
    if (trigger.isEmpty())
        return std::unexpected(invalid(u"The trigger is empty."_s));
    if (expansion.isEmpty())
        return std::unexpected(invalid(u"The expansion is empty."_s));
    return VoiceSnippet{snippet.id, trigger, expansion};
}

StoreResult<> AppDataStore::saveSnippet(const QString& trigger, const QString& expansion) {
    auto merged = mergeSnippets({{QUuid(), trigger, expansion}});
    if (!merged)
        return std::unexpected(merged.error());
    return {};
}

StoreResult<ImportCounts> AppDataStore::mergeSnippets(const QList<VoiceSnippet>& snippets) {
    QList<VoiceSnippet> incoming;
    incoming.reserve(snippets.size());
    for (const auto& snippet : snippets) {
        auto bound = boundSnippet(snippet);
        if (!bound)
            return std::unexpected(bound.error());
        incoming.append(std::move(*bound));
    }
    ImportCounts counts;
    auto changed = store.change([&]() -> StoreResult<> {
        auto list = readListToChange<VoiceSnippet>(Keys::voiceSnippets);
        if (!list)
            return std::unexpected(list.error());
        counts = KeyedMerge(*list, snippetKey).addAll(incoming, mergeSnippet);
        return writeList(Keys::voiceSnippets, *list);
    });
    if (!changed)
        return std::unexpected(changed.error());
    return counts;
}

StoreResult<> AppDataStore::removeSnippet(const QUuid& id) {
    return store.change([&]() -> StoreResult<> {
        auto list = readListToChange<VoiceSnippet>(Keys::voiceSnippets);
        if (!list)
            return std::unexpected(list.error());
        if (list->removeIf([&](const auto& s) { return s.id == id; }) == 0)
            return std::unexpected(StoreError{StoreError::Kind::missing,
                                              u"That snippet is no longer in your snippets."_s});
        return writeList(Keys::voiceSnippets, *list);
    });
}

StoreResult<> AppDataStore::importSnippet(const std::optional<VoiceSnippet>& snippet,
                                          const QUuid& id) {
    return store.change([&]() -> StoreResult<> {
        auto list = readListToChange<VoiceSnippet>(Keys::voiceSnippets);
        if (!list)
            return std::unexpected(list.error());
        mergeById(*list, snippet, id);
        return writeList(Keys::voiceSnippets, *list);
    });
}

// Captured field text is never kept longer than a day.
QList<TranscriptEntry> AppDataStore::purgedHistory(QList<TranscriptEntry> entries,
                                                   bool* purged) const {
    const QDateTime cutoff = now().addSecs(-contextRetentionSeconds);
    for (auto& entry : entries) {
        auto& settings = entry.dictationSettings;
        if (settings && settings->hasContext() && entry.createdAt < cutoff) {
            settings->contextBefore.reset();
            settings->contextAfter.reset();
            settings->conversationContext.reset();
            *purged = true;
        }
    }
    sortNewestFirst(entries);
    return entries;
}

QList<TranscriptEntry> AppDataStore::history() const {
    bool purged = false;
    auto entries = purgedHistory(readList<TranscriptEntry>(Keys::transcriptHistory), &purged);
    if (purged) {
        // Shown purged at once; a failed save is tried again by the next read or change.
        (void)changeHistory([](QList<TranscriptEntry>&) {});
    }
    return entries;
}

StoreResult<> AppDataStore::writeHistory(QList<TranscriptEntry> entries) const {
    // The oldest finished entries go first; one that still holds its audio
    // stays until its text is safe, or its recording could not be found again.
    qsizetype excess = entries.size() - historyLimit;
    for (qsizetype i = entries.size() - 1; i >= 0 && excess > 0; --i)
        if (!entries[i].recordingFileName) {
            entries.removeAt(i);
            --excess;
        }
    return writeList(Keys::transcriptHistory, entries);
}

StoreResult<>
AppDataStore::changeHistory(const std::function<void(QList<TranscriptEntry>&)>& edit) const {
    return store.change([&]() -> StoreResult<> {
        bool purged = false;
        auto stored = readListToChange<TranscriptEntry>(Keys::transcriptHistory);
        if (!stored)
            return std::unexpected(stored.error());
        auto entries = purgedHistory(*stored, &purged);
        edit(entries);
        return writeHistory(entries);
    });
}

StoreResult<> AppDataStore::addHistory(const TranscriptEntry& entry) {
    return changeHistory([&](QList<TranscriptEntry>& entries) {
        entries.removeIf([&](const auto& e) { return e.id == entry.id; });
        entries.prepend(entry);
    });
}

StoreResult<> AppDataStore::importHistory(const TranscriptEntry& entry) {
    return changeHistory([&](QList<TranscriptEntry>& entries) {
        auto it = std::find_if(entries.begin(), entries.end(),
                               [&](const auto& e) { return e.id == entry.id; });
        if (it != entries.end())
            *it = entry;
        else
            entries.append(entry);
        sortNewestFirst(entries);
    });
}

StoreResult<> AppDataStore::removeHistory(const QUuid& id) {
    return changeHistory([&](QList<TranscriptEntry>& entries) {
        entries.removeIf([&](const auto& e) { return e.id == id; });
    });
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

StoreResult<> AppDataStore::setStyle(std::optional<DictationStyle> style, WritingSurface surface) {
    return store.change([&]() -> StoreResult<> {
        auto stored = store.stringMap(Keys::surfaceStyles).value_or(QMap<QString, QString>{});
        const QString key = rawValue(surface).toString();
        if (style)
            stored.insert(key, rawValue(*style).toString());
        else
            stored.remove(key);
        return store.setStringMap(Keys::surfaceStyles, stored);
    });
}

QString AppDataStore::normalisedSuggestionWord(const QString& word) {
    static const QRegularExpression notLetterOrDigit(
        u"[^\\p{L}\\p{N}]"_s, QRegularExpression::UseUnicodePropertiesOption);
    return word.toLower().remove(notLetterOrDigit);
}

QStringList AppDataStore::dismissedWordSuggestions() const {
    return store.stringList(Keys::dismissedWordSuggestions).value_or(QStringList{});
}

StoreResult<> AppDataStore::dismissWordSuggestions(const QStringList& words) {
    return store.change([&]() -> StoreResult<> {
        QStringList stored = dismissedWordSuggestions();
        for (const auto& word : words) {
            const QString normal = normalisedSuggestionWord(word);
            if (!normal.isEmpty() && !stored.contains(normal))
                stored << normal;
        }
        return store.setStringList(Keys::dismissedWordSuggestions, stored);
    });
}

} // namespace quendra
