#pragma once

#include "model/MainThreadChecker.h"

#include <QObject>
#include <QPointer>

class QFileDialog;

namespace quendra {

class AppDataStore;
class DictionaryListModel;
class SnippetListModel;

// Import and export of the Words and snippets from the window: a file dialog
// that does not hold up the application, then the same transfer the commands
// use. The outcome's sentence goes to the list it concerns. Main thread only.
class WordsTransferActions : public QObject {
    Q_OBJECT

public:
    WordsTransferActions(AppDataStore& store, DictionaryListModel& dictionary,
                         SnippetListModel& snippets, QObject* parent = nullptr);
    ~WordsTransferActions() override;

    // `list` is "words" or "snippets".
    Q_INVOKABLE void chooseImport(const QString& list);
    Q_INVOKABLE void chooseExport(const QString& list);

    // What the dialog calls once a file is chosen; tests call it directly.
    void importFile(const QString& list, const QString& path);
    void exportFile(const QString& list, const QString& path);

private:
    void report(const QString& list, const QString& sentence);

    MainThreadChecker checker;
    AppDataStore& store;
    DictionaryListModel& dictionary;
    SnippetListModel& snippets;
    QPointer<QFileDialog> dialog;
};

} // namespace quendra
