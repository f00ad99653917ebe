#include "DictionaryListModel.h"

#include "model/AppDataStore.h"

#include <QRegularExpression>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

DictionaryListModel::DictionaryListModel(AppDataStore& store, QObject* parent)
    : FilteredListModel(parent)
    , store(store) {
    refresh();
}

QVariant DictionaryListModel::data(const QModelIndex& index, int role) const {
    const qsizetype source = sourceRow(index);
    if (source < 0)
        return {};
    const PersonalDictionaryEntry& e = entries[source];
    switch (role) {
    case IdRole:
        return e.id.toString(QUuid::WithoutBraces);
    case SpellingRole:
        return e.spelling;
    case FormsRole:
        return e.spokenForms;
    case FormsTextRole:
        return e.spokenForms.join(u", "_s);
    default:
        return {};
    }
}

QHash<int, QByteArray> DictionaryListModel::roleNames() const {
    return {{IdRole, "entryId"},
            {SpellingRole, "spelling"},
            {FormsRole, "forms"},
            {FormsTextRole, "formsText"}};
}

void DictionaryListModel::refresh() {
    QUENDRA_CHECK_THREAD(checker);
    auto now = store.dictionaryEntries();
    // The store's own change notices come after the window's edits: an
    // unchanged list keeps the view where it was.
    if (now == entries)
        return;
    entries = std::move(now);
    listChanged();
}

bool DictionaryListModel::sourceMatches(qsizetype source) const {
    const auto& e = entries[source];
    return query().matches(QStringList{e.spelling} + e.spokenForms);
}

QStringList DictionaryListModel::splitForms(const QString& text) {
    static const QRegularExpression separators(u"[,\\n]"_s);
    QStringList forms;
    for (const QString& part : text.split(separators, Qt::SkipEmptyParts))
        if (!part.trimmed().isEmpty())
            forms << part.trimmed();
    return forms;
}

bool DictionaryListModel::save(const QString& spelling, const QString& forms, const QString& id) {
    QUENDRA_CHECK_THREAD(checker);
    std::optional<QUuid> replacing;
    if (!id.isEmpty())
        replacing = QUuid(id);
    auto saved = store.saveReviewedSpelling(spelling, splitForms(forms), replacing);
    if (!saved) {
        setMessage(saved.error().kind == StoreError::Kind::invalid
                       ? u"Type the spelling to keep, for example a name or a term."_s
                       : saved.error().message);
        return false;
    }
    setMessage(replacing ? u"Saved “%1”."_s.arg(spelling.simplified())
                         : u"Added “%1” to your Words."_s.arg(spelling.simplified()));
    refresh();
    Q_EMIT changed();
    return true;
}

bool DictionaryListModel::add(const QString& spelling) {
    return save(spelling, {});
}

void DictionaryListModel::remove(const QString& id) {
    QUENDRA_CHECK_THREAD(checker);
    const QUuid uuid(id);
    QString spelling;
    for (const auto& e : entries)
        if (e.id == uuid)
            spelling = e.spelling;
    if (auto removed = store.removeDictionaryEntry(uuid); !removed) {
        setMessage(removed.error().message);
        return;
    }
    setMessage(u"Removed “%1” from your Words."_s.arg(spelling));
    refresh();
    Q_EMIT changed();
}

} // namespace quendra
