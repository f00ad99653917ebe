#include "CommandSupport.h"

#include "Interruption.h"

#include "context/AppContext.h"
#include "dictation/EntryCompletion.h"
#include "model/AppDataStore.h"
#include "platform/Pasteboard.h"

#include <QClipboard>
#include <QGuiApplication>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

QString status(const TranscriptEntry& e) {
    if (e.isFailed())
        return u"failed"_s;
    if (e.isPending())
        return u"waiting"_s;
    return u"done"_s;
}

int listHistory(Invocation& in) {
    if (auto status = refuseUnreadable(in))
        return *status;
    const auto history = in.app.store().history();
    if (in.flag(u"json"_s)) {
        in.out << QString::fromUtf8(jsonBytes(Json(history), 2)) << Qt::endl;
        return 0;
    }
    if (history.isEmpty())
        in.out << u"Your history is empty."_s << Qt::endl;
    for (const auto& e : history) {
        const QString text = e.text.isEmpty() ? u"(no text yet)"_s : oneLine(e.text, 60);
        in.out << uuidText(e.id).left(8) << u"  "_s << displayDate(e.createdAt) << u"  "_s
               << status(e).leftJustified(7) << u" "_s << text << Qt::endl;
    }
    return 0;
}

// The entry named by the first argument, or the status of the sentence that
// says why there is none.
std::expected<TranscriptEntry, int> namedEntry(Invocation& in) {
    const auto history = in.app.store().history();
    QList<QUuid> ids;
    for (const auto& e : history)
        ids << e.id;
    const auto [lookup, id] = findIdentifier(in.positionals()[0], ids);
    switch (lookup) {
    case IdLookup::malformed:
        return std::unexpected(
            in.usageError(u"“%1” is not an entry identifier"_s.arg(in.positionals()[0])));
    case IdLookup::ambiguous:
        return std::unexpected(
            in.usageError(u"“%1” starts more than one identifier"_s.arg(in.positionals()[0])));
    case IdLookup::missing:
        return std::unexpected(
            in.failure(u"No history entry has the identifier %1."_s.arg(in.positionals()[0])));
    case IdLookup::found:
        break;
    }
    return *std::find_if(history.begin(), history.end(), [&](const auto& x) { return x.id == id; });
}

int showHistory(Invocation& in) {
    if (auto status = refuseUnreadable(in))
        return *status;
    const auto found = namedEntry(in);
    if (!found)
        return found.error();
    const TranscriptEntry& e = *found;
    if (in.flag(u"json"_s)) {
        in.out << QString::fromUtf8(jsonBytes(Json(e), 2)) << Qt::endl;
        return 0;
    }
    in.out << u"Identifier: "_s << uuidText(e.id) << u"\nCreated: "_s << displayDate(e.createdAt)
           << u"\nStatus: "_s << status(e) << u"\nSource: "_s << e.source << u"\n"_s;
    if (e.recordingFileName)
        in.out << u"Recording: "_s << *e.recordingFileName << u"\n"_s;
    if (e.transcriptionError)
        in.out << u"Error: "_s << *e.transcriptionError << u"\n"_s;
    if (e.dictationSettings)
        in.out << u"Style: "_s << title(e.dictationSettings->style) << u"\n"_s;
    in.out << u"\n"_s << e.text << Qt::endl;
    return 0;
}

// Serves the copied text until another program takes the clipboard, as an
// X11 clipboard owner must, or until the user interrupts.
int holdClipboard(Invocation& in, Interruption& interruption) {
    QClipboard* clipboard = QGuiApplication::clipboard();
    if (!clipboard || !clipboard->ownsClipboard())
        return int(ExitStatus::success);
    in.err << u"Copied to the clipboard. Parlevo keeps serving it until something else is "
              "copied (Ctrl+C to stop)."_s
           << Qt::endl;
    QEventLoop loop;
    QObject::connect(clipboard, &QClipboard::dataChanged, &loop, [&] {
        if (!clipboard->ownsClipboard())
            loop.quit();
    });
    interruption.onInterrupt = [&] { loop.quit(); };
    loop.exec();
    return int(ExitStatus::success);
}

int retryHistory(Invocation& in) {
    if (auto status = refuseUnreadable(in))
        return *status;
    const auto found = namedEntry(in);
    if (!found)
        return found.error();
    if (!found->isPending())
        return in.failure(u"That dictation already has its text; nothing to retry."_s);
    const bool copy = in.flag(u"copy"_s);
    Pasteboard* pasteboard = nullptr;
    if (copy) {
        auto desktop = in.app.desktop();
        if (!desktop)
            return in.failure(desktop.error());
        pasteboard = (*desktop)->pasteboard.get();
    }

    EntryCompletion completion(in.app.store(), in.app.pendingRecordings(), in.app.transcription(),
                               [&in] { return in.app.savedSignIn(); });
    auto cancel = std::make_shared<CancellationFlag>();
    Interruption interruption;
    interruption.onInterrupt = [cancel] { cancel->cancel(); };
    auto outcome = QCoro::waitFor(completion.complete(found->id, partProgress(in), cancel));
    if (interruption.requested()) {
        in.err << u"The transcription was interrupted; the recording stays in History."_s
               << Qt::endl;
        return interruption.exitStatus();
    }
    if (!outcome)
        return in.failure(outcome.error().message);
    if (outcome->result.fallbackUsed)
        in.err << u"parlevo: %1 was used instead.\n"_s.arg(title(outcome->result.model))
               << Qt::flush;
    in.out << outcome->entry.text << Qt::endl;
    if (!copy)
        return int(ExitStatus::success);
    pasteboard->clearContents();
    pasteboard->setString(outcome->entry.text);
    return holdClipboard(in, interruption);
}

} // namespace

int runHistoryCommand(AppContext& app, const QStringList& arguments, QTextStream& out,
                      QTextStream& err) {
    const QList<Subcommand> subcommands{
        {u"list"_s,
         {u"history list [--json]"_s,
          u"Lists your dictations, newest first; --json prints the stored records."_s},
         0,
         {u"json"_s},
         {},
         listHistory},
        {u"show"_s,
         {u"history show ID [--json]"_s,
          u"Shows one dictation; ID is its identifier or the first characters of it."_s},
         1,
         {u"json"_s},
         {},
         showHistory},
        {u"retry"_s,
         {u"history retry ID [--copy]"_s,
          u"Transcribes a dictation again from its kept recording, with the settings it was\n"
          "recorded with, stores the text in History and prints it. --copy also puts it on\n"
          "the clipboard and stays to serve it until something else is copied."_s},
         1,
         {u"copy"_s},
         {},
         retryHistory},
    };
    return dispatch(app, u"history"_s, subcommands, arguments, out, err);
}

} // namespace quendra
