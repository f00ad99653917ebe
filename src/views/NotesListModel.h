#pragma once

#include "ListFilter.h"
#include "model/MainThreadChecker.h"
#include "model/Note.h"

#include <QAbstractListModel>

#include <memory>
#include <thread>

namespace quendra {

class NotesStore;

// The notes as the Notes section lists them, newest first. Reading thousands
// of note folders happens off the main thread; the list changes when it is done.
class NotesListModel : public QAbstractListModel {
    Q_OBJECT
    Q_PROPERTY(QString filter READ filter WRITE setFilter NOTIFY filterChanged)
    Q_PROPERTY(int count READ count NOTIFY countChanged)
    Q_PROPERTY(int totalCount READ totalCount NOTIFY countChanged)
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

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    QString filter() const { return rowFilter.query(); }
    void setFilter(const QString& text);
    int count() const { return static_cast<int>(shown.size()); }
    int totalCount() const { return static_cast<int>(notes.size()); }
    bool loading() const { return loadsUnderWay > 0; }
    // Says how many note folders could not be read, when any.
    QString problem() const { return problemText; }

    Q_INVOKABLE void refresh();

Q_SIGNALS:
    void filterChanged();
    void countChanged();
    void loadingChanged();

private:
    // `narrowing`: the new query only adds to the last one, so only the rows
    // shown can still match.
    void applyFilter(bool narrowing = false);

    MainThreadChecker checker;
    NotesStore& store;
    QList<Note> notes;
    // Each note's text as searches compare it, made with the listing.
    QStringList searchTexts;
    QList<int> shown;
    ListFilter rowFilter;
    QString problemText;
    int loadsUnderWay = 0;
    bool reloadWanted = false;
    // Joined at destruction, so the store is never read after it goes.
    std::thread loader;
};

} // namespace quendra
