#include "views/DictionaryListModel.h"
#include "views/HistoryListModel.h"
#include "views/NotesListModel.h"
#include "views/SettingsModel.h"
#include "views/ShortcutRecorder.h"
#include "views/SnippetListModel.h"
#include "views/WordsTransferActions.h"

#include "audio/AudioRecorder.h"
#include "dictation/AppModel.h"
#include "fakes/FakeDesktop.h"
#include "fakes/FakeMicrophonePermission.h"
#include "fakes/RecordingPanels.h"
#include "fakes/RecordingUrlOpener.h"
#include "fakes/ScriptedAudioSource.h"
#include "model/AppDataStore.h"
#include "model/PendingRecordingStore.h"
#include "model/UserDefaults.h"
#include "notes/NotesStore.h"
#include "platform/LoginItem.h"
#include "session/HotKeyManager.h"
#include "session/ShortcutSettings.h"
#include "support/CoreApplication.h"
#include "support/PrivateTemporaryFolder.h"
#include "support/TestSupport.h"
#include "transcription/TranscriptionService.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

using namespace Qt::Literals::StringLiterals;
using namespace quendra;

namespace {

// The lists of the main window on a real store in a private folder.
class ViewModelsTest : public testing::Test {
protected:
    ViewModelsTest() { ensureCoreApplication(); }

    AppModel& dictation() {
        if (!made)
            made = std::make_unique<AppModel>(AppModel::Parts{.store = store,
                                                              .pendingRecordings = pending,
                                                              .recorder = recorder,
                                                              .transcription = service,
                                                              .microphone = permission,
                                                              .panels = panels});
        return *made;
    }

    // An entry as a dictation leaves it; `audio` keeps a recording for it.
    TranscriptEntry addEntry(const QString& text, std::optional<QString> failure = std::nullopt,
                             bool audio = false) {
        TranscriptEntry e;
        e.id = QUuid::createUuid();
        e.createdAt = QDateTime::currentDateTimeUtc().addSecs(-qint64(store.history().size()));
        e.text = text;
        e.transcriptionError = std::move(failure);
        DictationSessionSettings settings;
        settings.style = DictationStyle::clean;
        settings.model = DictationModel::offline;
        e.dictationSettings = settings;
        if (audio) {
            const auto path = pending.prepare(e.id);
            QFile file(*path);
            EXPECT_TRUE(file.open(QIODevice::WriteOnly));
            file.write(QByteArray(44 + 32000 * 3, '\0'));
            e.recordingFileName = PendingRecordingStore::fileName(e.id);
        }
        EXPECT_TRUE(store.addHistory(e));
        return e;
    }

    static QStringList column(const QAbstractListModel& model, int role) {
        QStringList values;
        for (int row = 0; row < model.rowCount(); ++row)
            values << model.data(model.index(row), role).toString();
        return values;
    }

    PrivateTemporaryFolder temporary;
    QTemporaryDir dir;
    UserDefaults defaults{dir.filePath(u"defaults.json"_s)};
    AppDataStore store{defaults};
    PendingRecordingStore pending{dir.filePath(u"Pending"_s)};
    ScriptedAudioSourceFactory sources;
    FakeMicrophonePermission permission;
    AudioRecorder recorder{sources, permission, nullptr,
                           AudioRecorder::Options{.pollIntervalMs = 60'000}};
    TranscriptionService service{[](const QString& text, const FinishingContext&, bool) {
        return std::expected<FinishedText, TranscriptionServiceError>(
            FinishedText{text, text, true, false});
    }};
    RecordingPanels panels;
    std::unique_ptr<AppModel> made;
};

TEST_F(ViewModelsTest, HistoryIsSearchedByEveryWordInTextFailuresAndSettings) {
    addEntry(u"Meet Anna at the harbour on Tuesday"_s);
    addEntry({}, u"The recording could not be read."_s, true);
    addEntry(u"Ship the release notes"_s);
    RecordingUrlOpener opener;
    HistoryListModel history(store, pending, dictation(), &opener);
    ASSERT_EQ(history.count(), 3);
    EXPECT_EQ(column(history, HistoryListModel::StateRole),
              (QStringList{u"done"_s, u"failed"_s, u"done"_s}));
    EXPECT_EQ(history.failedCount(), 1);
    // A kept recording shows its length; a finished one without one shows none.
    EXPECT_EQ(column(history, HistoryListModel::DurationRole),
              (QStringList{QString(), u"0:03"_s, QString()}));

    history.setFilter(u"  harbour   TUESDAY "_s);
    EXPECT_EQ(column(history, HistoryListModel::TextRole),
              QStringList{u"Meet Anna at the harbour on Tuesday"_s});
    history.setFilter(u"could not"_s);
    EXPECT_EQ(column(history, HistoryListModel::StateRole), QStringList{u"failed"_s});
    history.setFilter(u"clean notes"_s); // the style and the text together
    EXPECT_EQ(column(history, HistoryListModel::TextRole),
              QStringList{u"Ship the release notes"_s});
    history.setFilter(u"harbour release"_s);
    EXPECT_EQ(history.count(), 0);
    EXPECT_EQ(history.totalCount(), 3);
    history.setFilter({});
    EXPECT_EQ(history.count(), 3);
}

TEST_F(ViewModelsTest, DeletingFromHistoryRemovesTheEntryThenItsAudio) {
    const auto failed = addEntry({}, u"Transcription failed."_s, true);
    addEntry(u"kept"_s);
    RecordingUrlOpener opener;
    HistoryListModel history(store, pending, dictation(), &opener);
    const QString path = *pending.url(*failed.recordingFileName);

    history.play(failed.id.toString(QUuid::WithoutBraces));
    ASSERT_EQ(opener.opened.size(), 1);
    EXPECT_EQ(opener.opened[0], QUrl::fromLocalFile(path));

    history.remove(failed.id.toString(QUuid::WithoutBraces));
    EXPECT_FALSE(QFile::exists(path));
    EXPECT_EQ(column(history, HistoryListModel::TextRole), QStringList{u"kept"_s});
    defaults.reload();
    EXPECT_EQ(store.history().size(), 1);

    // Without audio there is nothing to play, and the user is told so.
    history.play(failed.id.toString(QUuid::WithoutBraces));
    EXPECT_EQ(opener.opened.size(), 1);
    EXPECT_FALSE(history.message().isEmpty());
}

TEST_F(ViewModelsTest, AnUnchangedStoreKeepsTheListsWhereTheyAre) {
    addEntry(u"one"_s);
    ASSERT_TRUE(store.saveReviewedSpelling(u"Kubernetes"_s, {}));
    RecordingUrlOpener opener;
    HistoryListModel history(store, pending, dictation(), &opener);
    DictionaryListModel words(store);
    int historyResets = 0, wordResets = 0;
    QObject::connect(&history, &QAbstractItemModel::modelReset, [&] { ++historyResets; });
    QObject::connect(&words, &QAbstractItemModel::modelReset, [&] { ++wordResets; });

    history.refresh();
    words.refresh();
    EXPECT_EQ(historyResets, 0);
    EXPECT_EQ(wordResets, 0);

    // Another process's change does show.
    UserDefaults otherProcess{defaults.filePath()};
    AppDataStore other{otherProcess};
    ASSERT_TRUE(other.saveReviewedSpelling(u"Quendra"_s, {u"kwen dra"_s}));
    defaults.reload();
    words.refresh();
    EXPECT_EQ(wordResets, 1);
    EXPECT_EQ(column(words, DictionaryListModel::SpellingRole),
              (QStringList{u"Kubernetes"_s, u"Quendra"_s}));
}

TEST_F(ViewModelsTest, WordsAreSavedWithTheirFormsEditedAndSearchedByHowTheyAreHeard) {
    DictionaryListModel words(store);
    EXPECT_TRUE(words.save(u"Kubernetes"_s, u"cooper netties,  cube and eddies\n\n,"_s));
    ASSERT_EQ(words.count(), 1);
    EXPECT_EQ(words.data(words.index(0), DictionaryListModel::FormsRole).toStringList(),
              (QStringList{u"cooper netties"_s, u"cube and eddies"_s}));

    // Nothing to keep is refused with a sentence, and nothing changes.
    EXPECT_FALSE(words.save(u"   "_s, u"something"_s));
    EXPECT_FALSE(words.message().isEmpty());
    EXPECT_EQ(store.dictionaryEntries().size(), 1);

    // Editing replaces the entry it came from, even under another spelling.
    const QString id = words.data(words.index(0), DictionaryListModel::IdRole).toString();
    EXPECT_TRUE(words.save(u"K8s"_s, u"kates"_s, id));
    EXPECT_EQ(column(words, DictionaryListModel::SpellingRole), QStringList{u"K8s"_s});

    EXPECT_TRUE(words.add(u"Anna Lindqvist"_s));
    // Typed one key at a time, then taken back.
    for (const QString& typed : {u"a"_s, u"at"_s, u"ate"_s, u"ates"_s})
        words.setFilter(typed);
    EXPECT_EQ(column(words, DictionaryListModel::SpellingRole), QStringList{u"K8s"_s});
    words.setFilter(u"a"_s);
    EXPECT_EQ(words.count(), 2);
    words.setFilter(u"kates"_s);
    EXPECT_EQ(column(words, DictionaryListModel::SpellingRole), QStringList{u"K8s"_s});
    words.setFilter(u"lindq"_s);
    EXPECT_EQ(column(words, DictionaryListModel::SpellingRole), QStringList{u"Anna Lindqvist"_s});

    words.remove(words.data(words.index(0), DictionaryListModel::IdRole).toString());
    EXPECT_EQ(words.totalCount(), 1);
}

TEST_F(ViewModelsTest, EditingASnippetsTriggerReplacesItAndKeepingItKeepsItsIdentity) {
    SnippetListModel snippets(store);
    ASSERT_TRUE(snippets.save(u"my address"_s, u"1 Harbour Road,\nPortsmouth"_s));
    const QString id = snippets.data(snippets.index(0), SnippetListModel::IdRole).toString();

    ASSERT_TRUE(snippets.save(u"My Address"_s, u"2 Harbour Road"_s, id));
    ASSERT_EQ(snippets.count(), 1);
    EXPECT_EQ(snippets.data(snippets.index(0), SnippetListModel::IdRole).toString(), id);

    ASSERT_TRUE(snippets.save(u"home address"_s, u"2 Harbour Road"_s, id));
    EXPECT_EQ(column(snippets, SnippetListModel::TriggerRole), QStringList{u"home address"_s});
    EXPECT_NE(snippets.data(snippets.index(0), SnippetListModel::IdRole).toString(), id);

    EXPECT_FALSE(snippets.save(u"sign off"_s, u"  "_s));
    EXPECT_EQ(store.snippets().size(), 1);
}

// A login item that remembers its state, and can be made to fail.
class MemoryLoginItem final : public LoginItem {
public:
    bool enabled() const override { return on; }
    std::expected<void, QString> setEnabled(bool value) override {
        if (broken)
            return std::unexpected(u"Could not write the autostart entry."_s);
        on = value;
        return {};
    }
    bool on = false;
    bool broken = false;
};

TEST_F(ViewModelsTest, SettingsStoreTheChoicesAndSayWhyOneWasNotTaken) {
    MemoryLoginItem login;
    SettingsModel settings(store, login, [] { return DictationModel::offline; });
    settings.setStyle(u"polished"_s);
    EXPECT_EQ(store.dictationStyle(), DictationStyle::polished);
    settings.setStyle(u"light"_s); // the service's word, never a stored one
    EXPECT_EQ(store.dictationStyle(), DictationStyle::polished);

    EXPECT_EQ(settings.surfaceStyle(u"email"_s), QString());
    settings.setSurfaceStyle(u"email"_s, u"prompt"_s);
    EXPECT_EQ(store.surfaceStyles().value(WritingSurface::email), DictationStyle::prompt);
    settings.setSurfaceStyle(u"email"_s, {});
    EXPECT_FALSE(store.surfaceStyles().contains(WritingSurface::email));

    settings.setRecordingMinutes(15);
    EXPECT_EQ(settings.recordingMinutes(), 10);
    settings.setRecordingMinutes(30);
    EXPECT_EQ(store.recordingDuration(), RecordingDuration::thirty);

    settings.setLaunchAtLogin(true);
    EXPECT_TRUE(login.on);
    EXPECT_TRUE(store.configuredLaunchAtLogin());
    login.broken = true;
    settings.setLaunchAtLogin(false);
    EXPECT_TRUE(settings.launchAtLogin());
    EXPECT_EQ(settings.message(), u"Could not write the autostart entry."_s);
}

TEST_F(ViewModelsTest, AutostartEntryComesAndGoesAndRunsThisProgramEvenFromAPathWithSpaces) {
    const QString config = dir.filePath(u"config"_s);
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(config));
    const auto login = LoginItem::create(u"/opt/My Apps/parlevo"_s);
    const QString entry = config + u"/autostart/com.orvane.Parlevo.desktop"_s;
    EXPECT_FALSE(login->enabled());
    ASSERT_TRUE(login->setEnabled(true));
    QFile file(entry);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QString text = QString::fromUtf8(file.readAll());
    EXPECT_TRUE(text.contains(u"\nExec=\"/opt/My Apps/parlevo\" --autostart\n"_s))
        << text.toStdString();
    EXPECT_TRUE(login->enabled());
    ASSERT_TRUE(login->setEnabled(false));
    EXPECT_FALSE(QFile::exists(entry));
    EXPECT_TRUE(login->setEnabled(false)); // already off is no error

    // A place that cannot hold the entry is a sentence, not a silent success.
    ASSERT_TRUE(QDir(config).removeRecursively());
    ASSERT_TRUE(QDir().mkpath(config));
    QFile blocker(config + u"/autostart"_s);
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    const auto refused = login->setEnabled(true);
    ASSERT_FALSE(refused);
    EXPECT_TRUE(refused.error().contains(config)) << refused.error().toStdString();
    EXPECT_FALSE(login->enabled());
    qunsetenv("XDG_CONFIG_HOME");
}

TEST_F(ViewModelsTest, RecordingAShortcutLetsItsKeysThroughAndRefusesTheOtherShortcuts) {
    FakeHotKeyService keys;
    HotKeyManager dictationKey(keys, HotKeyManager::dictationIdentifier);
    HotKeyManager notesKey(keys, HotKeyManager::notesIdentifier);
    ShortcutSettings shortcuts(store, dictationKey, notesKey);
    shortcuts.registerStored();
    ASSERT_TRUE(keys.registered.contains(HotKeyManager::dictationIdentifier));
    ShortcutRecorder recorder(shortcuts, dictation());

    recorder.start(u"notes"_s);
    // The current shortcut is let go, so pressing it reaches the recorder.
    EXPECT_FALSE(keys.registered.contains(HotKeyManager::dictationIdentifier));
    EXPECT_TRUE(recorder.press('A', Qt::ShiftModifier, u"A"_s));
    EXPECT_EQ(recorder.captureMessage(), u"A needs Ctrl, Alt, or Super to work globally."_s);
    EXPECT_FALSE(recorder.press('n', Qt::ControlModifier | Qt::AltModifier, u"n"_s));
    EXPECT_EQ(recorder.recording(), QString());
    EXPECT_EQ(recorder.notesShortcut(), u"Ctrl+Alt+N"_s);
    EXPECT_TRUE(keys.registered.contains(HotKeyManager::dictationIdentifier));
    EXPECT_TRUE(keys.registered.contains(HotKeyManager::notesIdentifier));

    recorder.start(u"dictation"_s);
    EXPECT_TRUE(recorder.press('n', Qt::ControlModifier | Qt::AltModifier, u"n"_s));
    EXPECT_EQ(recorder.dictationError(),
              u"That shortcut already starts a Notes recording. Choose another one."_s);
    EXPECT_EQ(dictation().hotKeyError(), recorder.dictationError());
    EXPECT_EQ(recorder.captureMessage(), u"Press another shortcut to try again."_s);
    // Still recording, so still out of the way.
    EXPECT_FALSE(keys.registered.contains(HotKeyManager::dictationIdentifier));
    recorder.stop();
    EXPECT_EQ(recorder.dictationShortcut(), u"Alt+Space"_s);
    EXPECT_TRUE(keys.registered.contains(HotKeyManager::dictationIdentifier));
    EXPECT_TRUE(keys.registered.contains(HotKeyManager::notesIdentifier));
}

} // namespace

namespace {

TEST_F(ViewModelsTest, AnImportIsReadAwayFromTheWindowAndStoredOnceUnlessCancelled) {
    DictionaryListModel words(store);
    SnippetListModel snippets(store);
    WordsTransferActions transfer(store, words, snippets);
    ASSERT_TRUE(words.save(u"Kubernetes"_s, u"cooper netties"_s));

    QByteArray csv = "spelling,spoken forms\n";
    for (int i = 0; i < 10'000; ++i)
        csv += "Term" + QByteArray::number(i) + ",\"term " + QByteArray::number(i) + "\"\n";
    csv += "kubernetes,\"cube and eddies\"\n";
    const QString path = dir.filePath(u"words.csv"_s);
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(csv);
    file.close();
    const auto finished = [&] { return transfer.importing().isEmpty(); };

    transfer.importFile(u"words"_s, path);
    EXPECT_EQ(transfer.importing(), u"words"_s);
    transfer.cancelImport();
    ASSERT_TRUE(processEventsUntil(finished, 10000));
    EXPECT_EQ(store.dictionaryEntries().size(), 1);
    EXPECT_TRUE(words.message().contains(u"cancelled"_s)) << words.message().toStdString();

    transfer.importFile(u"words"_s, path);
    ASSERT_TRUE(processEventsUntil(finished, 10000));
    EXPECT_EQ(words.totalCount(), 10'001);
    EXPECT_EQ(store.dictionaryEntries().first().spokenForms,
              (QStringList{u"cooper netties"_s, u"cube and eddies"_s}));

    // A broken file says where, and what is stored stays.
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("spelling,spoken forms\nOne,\"unterminated\n");
    file.close();
    transfer.importFile(u"words"_s, path);
    ASSERT_TRUE(processEventsUntil(finished, 10000));
    EXPECT_TRUE(words.message().contains(path)) << words.message().toStdString();
    EXPECT_EQ(store.dictionaryEntries().size(), 10'001);
}

} // namespace

namespace {

TEST_F(ViewModelsTest, NotesAreListedNewestFirstSearchedAndUnreadableOnesCounted) {
    NotesStore notes(dir.filePath(u"Notes"_s));
    const auto make = [&](const QString& title, const QString& said, int daysAgo) {
        Note note;
        note.id = QUuid::createUuid();
        note.title = title;
        note.createdAt = QDateTime::currentDateTimeUtc().addDays(-daysAgo);
        note.durationMs = 3'723'000;
        note.state = NoteState::ready;
        note.turns = {NoteTurn{u"you"_s, 0, 4000, said}};
        EXPECT_TRUE(notes.create(note));
        return note;
    };
    make(u"Design review"_s, u"We ship the harbour release on Tuesday."_s, 3);
    make(u"Call with Anna"_s, u"Anna asks about the invoices."_s, 1);
    // A folder whose record does not decode is counted, not hidden.
    const QString damaged = dir.filePath(u"Notes/%1"_s.arg(uuidText(QUuid::createUuid())));
    ASSERT_TRUE(QDir().mkpath(damaged));
    QFile record(damaged + u"/note.json"_s);
    ASSERT_TRUE(record.open(QIODevice::WriteOnly));
    record.write("{ not a note");
    record.close();

    NotesListModel list(notes);
    list.refresh();
    EXPECT_TRUE(list.loading());
    ASSERT_TRUE(processEventsUntil([&] { return !list.loading(); }));
    EXPECT_EQ(column(list, NotesListModel::TitleRole),
              (QStringList{u"Call with Anna"_s, u"Design review"_s}));
    EXPECT_EQ(list.data(list.index(0), NotesListModel::DurationRole).toString(), u"1:02:03"_s);
    EXPECT_FALSE(list.problem().isEmpty());

    list.setFilter(u"HARBOUR tuesday"_s);
    EXPECT_EQ(column(list, NotesListModel::TitleRole), QStringList{u"Design review"_s});
    list.setFilter(u"anna invoices"_s);
    EXPECT_EQ(column(list, NotesListModel::TitleRole), QStringList{u"Call with Anna"_s});

    // Two refreshes asked for while one runs end with the latest listing.
    make(u"Stand-up"_s, u"Nothing new."_s, 0);
    list.setFilter({});
    list.refresh();
    list.refresh();
    ASSERT_TRUE(processEventsUntil([&] { return !list.loading() && list.totalCount() == 3; }));
}

} // namespace
