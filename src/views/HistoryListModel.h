#pragma once

#include "FilteredListModel.h"
#include "model/TranscriptEntry.h"

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
class HistoryListModel : public FilteredListModel {
    Q_OBJECT
    Q_PROPERTY(int failedCount READ failedCount NOTIFY countChanged)
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

    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    int failedCount() const;
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
    void retryChanged();

protected:
    qsizetype sourceSize() const override { return entries.size(); }
    bool sourceMatches(qsizetype source) const override;

private:
    std::optional<TranscriptEntry> find(const QString& id) const;
    QString state(const TranscriptEntry& entry) const;
    void retryNext();
    void onEntryCompleted(const QUuid& id);

    AppDataStore& store;
    PendingRecordingStore& recordings;
    AppModel& dictation;
    UrlOpener* opener;
    QList<TranscriptEntry> entries;
    QSet<QUuid> transcribing;
    QList<QUuid> retryQueue;
    std::optional<QUuid> retryCurrent;
    int retryTotal = 0;
};

} // namespace quendra
