#include "WordsTransferActions.h"

#include "DictionaryListModel.h"
#include "SnippetListModel.h"
#include "model/WordsTransfer.h"

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
    const bool words = list != u"snippets"_s;
    const auto done = words ? importDictionary(store, path) : importSnippets(store, path);
    report(list, done ? done->sentence() : done.error().message);
    if (done) {
        dictionary.refresh();
        snippets.refresh();
    }
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
