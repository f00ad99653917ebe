#include "NotesListModel.h"

#include "model/DisplayText.h"
#include "notes/NotesStore.h"

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

QString stateName(NoteState state) {
    switch (state) {
    case NoteState::recording:
        return u"Recording"_s;
    case NoteState::finishing:
        return u"Processing"_s;
    case NoteState::ready:
        return u"Done"_s;
    case NoteState::retry:
        return u"Failed"_s;
    case NoteState::interrupted:
        return u"Interrupted"_s;
    }
    return {};
}

} // namespace

NotesListModel::NotesListModel(NotesStore& store, QObject* parent)
    : QAbstractListModel(parent)
    , store(store) {}

NotesListModel::~NotesListModel() {
    if (loader.joinable())
        loader.join();
}

int NotesListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : count();
}

QVariant NotesListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= count())
        return {};
    const Note& n = notes[shown[index.row()]];
    switch (role) {
    case IdRole:
        return n.id.toString(QUuid::WithoutBraces);
    case TitleRole:
        return n.title;
    case TimeRole:
        return DisplayText::moment(n.createdAt);
    case DurationRole:
        return DisplayText::clock(n.durationMs);
    case StateRole:
        return stateName(n.state);
    case SourceRole:
        return n.sourceDescription();
    case PreviewRole:
        return n.preview();
    case MessageRole:
        return n.message;
    default:
        return {};
    }
}

QHash<int, QByteArray> NotesListModel::roleNames() const {
    return {{IdRole, "noteId"},         {TitleRole, "title"},     {TimeRole, "time"},
            {DurationRole, "duration"}, {StateRole, "noteState"}, {SourceRole, "source"},
            {PreviewRole, "preview"},   {MessageRole, "message"}};
}

void NotesListModel::setFilter(const QString& text) {
    QUENDRA_CHECK_THREAD(checker);
    if (text == rowFilter.query())
        return;
    const bool narrowing = !rowFilter.isEmpty() && text.startsWith(rowFilter.query());
    rowFilter.setQuery(text);
    Q_EMIT filterChanged();
    applyFilter(narrowing);
}

void NotesListModel::applyFilter(bool narrowing) {
    QList<int> rows;
    const QStringList terms = Note::searchTerms(rowFilter.query());
    const auto consider = [&](int i) {
        if (terms.isEmpty() || Note::matchesTerms(searchTexts[i], terms))
            rows << i;
    };
    if (narrowing) {
        for (int i : std::as_const(shown))
            consider(i);
    } else {
        for (int i = 0; i < notes.size(); ++i)
            consider(i);
    }
    beginResetModel();
    shown = std::move(rows);
    endResetModel();
    Q_EMIT countChanged();
}

void NotesListModel::refresh() {
    QUENDRA_CHECK_THREAD(checker);
    if (loadsUnderWay > 0) {
        reloadWanted = true;
        return;
    }
    if (loader.joinable())
        loader.join();
    ++loadsUnderWay;
    Q_EMIT loadingChanged();
    // The store is safe from any thread; only the result comes back here.
    loader = std::thread([this] {
        auto listing = std::make_shared<NoteListing>(store.loadAll());
        auto texts = std::make_shared<QStringList>();
        texts->reserve(listing->notes.size());
        for (const Note& note : listing->notes)
            *texts << note.searchText();
        QMetaObject::invokeMethod(
            this,
            [this, listing, texts] {
                notes = std::move(listing->notes);
                searchTexts = std::move(*texts);
                const auto unreadable = listing->unreadable.size();
                problemText = unreadable == 0
                                  ? QString()
                                  : u"%1 note folders could not be read."_s.arg(unreadable);
                --loadsUnderWay;
                applyFilter();
                Q_EMIT loadingChanged();
                if (std::exchange(reloadWanted, false))
                    refresh();
            },
            Qt::QueuedConnection);
    });
}

} // namespace quendra
