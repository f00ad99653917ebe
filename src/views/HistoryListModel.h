#pragma once

#include "ListFilter.h"
#include "model/MainThreadChecker.h"
#include "model/TranscriptEntry.h"

#include <QAbstractListModel>
#include <QList>
#include <QSet>
#include <QUuid>

namespace quendra {

class AppDataStore;
class AppModel;
class PendingRecordingStore;
class UrlOpener;

// History as the window lists it: newest first, filtered as the user types,
// with the entries being transcribed marked. The actions go through the
// dictation controller, so a retry here is the same as one from an alert.
// Main thread only.
class HistoryListModel : public QAbstractListModel {
    Q_OBJECT
    Q_PROPERTY(QString filter READ filter WRITE setFilter NOTIFY filterChanged)
    Q_PROPERTY(int count READ count NOTIFY countChanged)
    Q_PROPERTY(int totalCount READ totalCount NOTIFY countChanged)
    Q_PROPERTY(int failedCount READ failedCount NOTIFY countChanged)
    Q_PROPERTY(QString notice READ notice NOTIFY noticeChanged)
    Q_PROPERTY(bool retryingAll READ retryingAll NOTIFY retryChanged)
    Q_PROPERTY(QString retryProgress READ retryProgress NOTIFY retryChanged)

public:
    enum Role {
        IdRole = Qt::UserRole + 1,
        TextRole,
        FailureRole,
        TimeRole,
        DurationRole,
        ModelRole,
        StyleRole,
        StateRole, // "done", "pending", "failed", "transcribing"
        HasAudioRole,
        SummaryRole, // one line for a screen reader
    };

    HistoryListModel(AppDataStore& store, PendingRecordingStore& recordings, AppModel& dictation,
                     UrlOpener* opener, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    QString filter() const { return rowFilter.query(); }
    void setFilter(const QString& text);
    int count() const { return static_cast<int>(shown.size()); }
    int totalCount() const { return static_cast<int>(entries.size()); }
    int failedCount() const;
    QString notice() const { return noticeText; }
    bool retryingAll() const { return !retryQueue.isEmpty() || retryCurrent.has_value(); }
    QString retryProgress() const;

    // Reads History again; the rows keep their place when nothing moved.
    Q_INVOKABLE void refresh();
    Q_INVOKABLE void copy(const QString& id);
    Q_INVOKABLE void retry(const QString& id);
    Q_INVOKABLE void retryAndCopy(const QString& id);
    Q_INVOKABLE void remove(const QString& id);
    Q_INVOKABLE void play(const QString& id);
    Q_INVOKABLE void openFolder();
    // Retries every failed entry one after the other, until done or cancelled.
    Q_INVOKABLE void retryAllFailed();
    Q_INVOKABLE void cancelRetryAll();

Q_SIGNALS:
    void filterChanged();
    void countChanged();
    void noticeChanged();
    void retryChanged();

private:
    std::optional<TranscriptEntry> find(const QString& id) const;
    QString state(const TranscriptEntry& entry) const;
    void applyFilter();
    void setNotice(const QString& text);
    void retryNext();
    void onEntryCompleted(const QUuid& id);

    MainThreadChecker checker;
    AppDataStore& store;
    PendingRecordingStore& recordings;
    AppModel& dictation;
    UrlOpener* opener;
    QList<TranscriptEntry> entries;
    QList<int> shown; // indexes into entries
    QSet<QUuid> transcribing;
    ListFilter rowFilter;
    QString noticeText;
    QList<QUuid> retryQueue;
    std::optional<QUuid> retryCurrent;
    int retryTotal = 0;
};

} // namespace quendra
