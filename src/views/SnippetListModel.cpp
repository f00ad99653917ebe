#include "SnippetListModel.h"

#include "model/AppDataStore.h"

using namespace Qt::Literals::StringLiterals;

namespace quendra {

SnippetListModel::SnippetListModel(AppDataStore& store, QObject* parent)
    : FilteredListModel(parent)
    , store(store) {
    refresh();
}

QVariant SnippetListModel::data(const QModelIndex& index, int role) const {
    const qsizetype source = sourceRow(index);
    if (source < 0)
        return {};
    const VoiceSnippet& s = snippets[source];
    switch (role) {
    case IdRole:
        return s.id.toString(QUuid::WithoutBraces);
    case TriggerRole:
        return s.trigger;
    case ExpansionRole:
        return s.expansion;
    default:
        return {};
    }
}

QHash<int, QByteArray> SnippetListModel::roleNames() const {
    return {{IdRole, "entryId"}, {TriggerRole, "trigger"}, {ExpansionRole, "expansion"}};
}

void SnippetListModel::refresh() {
    QUENDRA_CHECK_THREAD(checker);
    auto now = store.snippets();
    // The store's own change notices come after the window's edits: an
    // unchanged list keeps the view where it was.
    if (now == snippets)
        return;
    snippets = std::move(now);
    listChanged();
}

bool SnippetListModel::sourceMatches(qsizetype source) const {
    return query().matches({snippets[source].trigger, snippets[source].expansion});
}

bool SnippetListModel::save(const QString& trigger, const QString& expansion, const QString& id) {
    QUENDRA_CHECK_THREAD(checker);
    auto saved = store.saveSnippet(trigger, expansion);
    if (!saved) {
        setMessage(saved.error().kind == StoreError::Kind::invalid
                       ? u"Type both what you say and the text it becomes."_s
                       : saved.error().message);
        return false;
    }
    // A changed trigger is a new snippet; the old one goes once the new one is safe.
    if (!id.isEmpty()) {
        const QUuid old(id);
        const auto now = store.snippets();
        const bool kept = std::any_of(now.begin(), now.end(), [&](const VoiceSnippet& s) {
            return s.id == old && s.trigger.compare(trigger.simplified(), Qt::CaseInsensitive);
        });
        if (kept) {
            if (auto removed = store.removeSnippet(old); !removed) {
                refresh();
                setMessage(removed.error().message);
                return false;
            }
        }
    }
    setMessage(u"Saved the snippet “%1”."_s.arg(trigger.simplified()));
    refresh();
    return true;
}

void SnippetListModel::remove(const QString& id) {
    QUENDRA_CHECK_THREAD(checker);
    if (auto removed = store.removeSnippet(QUuid(id)); !removed) {
        setMessage(removed.error().message);
        return;
    }
    setMessage(u"Removed the snippet."_s);
    refresh();
}

} // namespace quendra
