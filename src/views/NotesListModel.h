#pragma once

#include "FilteredListModel.h"
#include "model/Note.h"

#include <memory>
#include <thread>

namespace quendra {

class NotesStore;

// The notes as the Notes section lists them, newest first. Reading thousands
// of note folders happens off the main thread; the list changes when it is done.
class NotesListModel : public FilteredListModel {
    Q_OBJECT
    Q_PROPERTY(bool loading READ loading NOTIFY loadingChanged)
    Q_PROPERTY(QString problem READ problem NOTIFY countChanged)

public:
    enum Role {
        IdRole = Qt::UserRole + 1,
        TitleRole,
        TimeRole,
        DurationRole,
        StateRole,
        SourceRole,
        PreviewRole,
        MessageRole,
    };

    explicit NotesListModel(NotesStore& store, QObject* parent = nullptr);
    ~NotesListModel() override;
    NotesListModel(const NotesListModel&) = delete;
    NotesListModel& operator=(const NotesListModel&) = delete;

    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    bool loading() const { return loadsUnderWay > 0; }
    // Says how many note folders could not be read, when any.
    QString problem() const { return problemText; }

    Q_INVOKABLE void refresh();
    // "Recording", "Processing", "Done", "Failed" or "Interrupted".
    static QString stateName(NoteState state);

Q_SIGNALS:
    void loadingChanged();

protected:
    qsizetype sourceSize() const override { return notes.size(); }
    bool sourceMatches(qsizetype source) const override;
    void queryChanged(const QString& query) override;

private:
    NotesStore& store;
    QList<Note> notes;
    // Each note's text as searches compare it, made with the listing.
    QStringList searchTexts;
    QStringList terms;
    QString problemText;
    int loadsUnderWay = 0;
    bool reloadWanted = false;
    // Joined at destruction, so the store is never read after it goes.
    std::thread loader;
};

} // namespace quendra
