#include "WordsTransferActions.h"

#include "DictionaryListModel.h"
#include "SnippetListModel.h"

#include <QDir>
#include <QFileDialog>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

const QString fileTypes = u"Words lists (*.csv *.json);;CSV (*.csv);;JSON (*.json)"_s;

} // namespace

WordsTransferActions::WordsTransferActions(AppDataStore& store, DictionaryListModel& dictionary,
                                           SnippetListModel& snippets, QObject* parent)
    : QObject(parent)
    , store(store)
    , dictionary(dictionary)
    , snippets(snippets) {}

WordsTransferActions::~WordsTransferActions() {
    delete dialog.data();
    if (reader.joinable())
        reader.join();
}

void WordsTransferActions::chooseImport(const QString& list) {
    QUENDRA_CHECK_THREAD(checker);
    delete dialog.data();
    dialog =
        new QFileDialog(nullptr, list == u"snippets"_s ? u"Import snippets"_s : u"Import words"_s,
                        QDir::homePath(), fileTypes);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::ExistingFile);
    dialog->setAcceptMode(QFileDialog::AcceptOpen);
    connect(dialog, &QFileDialog::fileSelected, this,
            [this, list](const QString& path) { importFile(list, path); });
    dialog->open();
}

void WordsTransferActions::chooseExport(const QString& list) {
    QUENDRA_CHECK_THREAD(checker);
    delete dialog.data();
    const QString name = list == u"snippets"_s ? u"snippets.csv"_s : u"words.csv"_s;
    dialog =
        new QFileDialog(nullptr, list == u"snippets"_s ? u"Export snippets"_s : u"Export words"_s,
                        QDir::home().filePath(name), fileTypes);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::AnyFile);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    connect(dialog, &QFileDialog::fileSelected, this,
            [this, list](const QString& path) { exportFile(list, path); });
    dialog->open();
}

void WordsTransferActions::importFile(const QString& list, const QString& path) {
    QUENDRA_CHECK_THREAD(checker);
    if (!importingList.isEmpty())
        return;
    if (reader.joinable())
        reader.join();
    importingList = list;
    importCancelled = false;
    Q_EMIT importingChanged();
    report(list, u"Reading %1…"_s.arg(QDir::toNativeSeparators(path)));
    reader = std::thread([this, list, path] {
        if (list == u"snippets"_s) {
            auto read = readSnippetsFile(path);
            QMetaObject::invokeMethod(
                this, [this, list, read = std::move(read)] { finishImport(list, read); },
                Qt::QueuedConnection);
        } else {
            auto read = readDictionaryFile(path);
            QMetaObject::invokeMethod(
                this, [this, list, read = std::move(read)] { finishImport(list, read); },
                Qt::QueuedConnection);
        }
    });
}

template <typename T>
void WordsTransferActions::finishImport(const QString& list,
                                        const std::expected<QList<T>, TransferError>& read) {
    importingList.clear();
    Q_EMIT importingChanged();
    if (importCancelled) {
        report(list, u"The import was cancelled. Nothing was changed."_s);
        return;
    }
    if (!read) {
        report(list, read.error().message);
        return;
    }
    const auto merged = mergeImported(store, *read);
    report(list, merged ? merged->sentence() : merged.error().message);
    if (merged) {
        dictionary.refresh();
        snippets.refresh();
    }
}

void WordsTransferActions::cancelImport() {
    QUENDRA_CHECK_THREAD(checker);
    if (!importingList.isEmpty())
        importCancelled = true;
}

void WordsTransferActions::exportFile(const QString& list, const QString& path) {
    QUENDRA_CHECK_THREAD(checker);
    const bool words = list != u"snippets"_s;
    const auto done = words ? exportDictionary(store, path) : exportSnippets(store, path);
    report(list, done ? u"Saved %1."_s.arg(QDir::toNativeSeparators(path)) : done.error().message);
}

void WordsTransferActions::report(const QString& list, const QString& sentence) {
    if (list == u"snippets"_s)
        snippets.setMessage(sentence);
    else
        dictionary.setMessage(sentence);
}

} // namespace quendra
