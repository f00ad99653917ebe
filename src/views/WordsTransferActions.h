#pragma once

#include "model/MainThreadChecker.h"

#include <QObject>
#include <QPointer>

#include <expected>
#include <thread>

class QFileDialog;

#include "model/WordsTransfer.h"

namespace quendra {

class AppDataStore;
class DictionaryListModel;
class SnippetListModel;

// Import and export of the Words and snippets from the window: a file dialog
// that does not hold up the application, then the same transfer the commands
// use. The outcome's sentence goes to the list it concerns. Main thread only.
class WordsTransferActions : public QObject {
    Q_OBJECT
    // "words" or "snippets" while a file is being read for import, else empty.
    Q_PROPERTY(QString importing READ importing NOTIFY importingChanged)

public:
    WordsTransferActions(AppDataStore& store, DictionaryListModel& dictionary,
                         SnippetListModel& snippets, QObject* parent = nullptr);
    ~WordsTransferActions() override;
    WordsTransferActions(const WordsTransferActions&) = delete;
    WordsTransferActions& operator=(const WordsTransferActions&) = delete;

    QString importing() const { return importingList; }

    // `list` is "words" or "snippets".
    Q_INVOKABLE void chooseImport(const QString& list);
    Q_INVOKABLE void chooseExport(const QString& list);

    // Nothing read so far is stored.
    Q_INVOKABLE void cancelImport();

    // What the dialog calls once a file is chosen; tests call it directly.
    // The file is read and checked on a thread of its own; the store changes
    // once, here, when it is done.
    void importFile(const QString& list, const QString& path);
    void exportFile(const QString& list, const QString& path);

Q_SIGNALS:
    void importingChanged();

private:
    void report(const QString& list, const QString& sentence);
    template <typename T>
    void finishImport(const QString& list, const std::expected<QList<T>, TransferError>& read);

    MainThreadChecker checker;
    AppDataStore& store;
    DictionaryListModel& dictionary;
    SnippetListModel& snippets;
    QPointer<QFileDialog> dialog;
    QString importingList;
    bool importCancelled = false;
    // Joined at destruction, so nothing is left reading after the window goes.
    std::thread reader;
};

} // namespace quendra
