#include "CommandSupport.h"
#include "Interruption.h"

#include "model/DisplayText.h"
#include "notes/NoteAssembly.h"
#include "notes/NoteExport.h"
#include "notes/NoteProcessor.h"
#include "notes/NoteSummary.h"
#include "notes/NotesStore.h"
#include "notes/SpeakerNameSuggester.h"
#include "platform/InstanceBus.h"

#include <QDir>
#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

QString clock(qint64 ms) {
    return DisplayText::timestamp(ms);
}

// Resolves the ID argument to a stored note, or prints why it cannot. A note
// whose folder is there but whose record cannot be read is found, and said so.
std::optional<Note> findNote(Invocation& in, NotesStore& store, int* status) {
    const NoteListing listing = store.loadAll();
    QList<QUuid> ids;
    for (const Note& note : listing.notes)
        ids << note.id;
    for (const UnreadableNote& note : listing.unreadable)
        if (!note.id.isNull())
            ids << note.id;
    const QString text = in.positionals()[0];
    const auto [lookup, id] = findIdentifier(text, ids);
    switch (lookup) {
    case IdLookup::malformed:
        *status = in.usageError(u"“%1” is not a note identifier"_s.arg(text));
        return std::nullopt;
    case IdLookup::ambiguous:
        *status = in.usageError(u"“%1” starts more than one note identifier"_s.arg(text));
        return std::nullopt;
    case IdLookup::missing:
        if (listing.unreadable.size() == 1 && listing.unreadable[0].id.isNull())
            *status = in.failure(listing.unreadable[0].error.message);
        else
            *status = in.failure(u"No note has the identifier %1."_s.arg(text));
        return std::nullopt;
    case IdLookup::found:
        break;
    }
    auto note = store.load(id);
    if (!note) {
        *status = in.failure(note.error().message);
        return std::nullopt;
    }
    return std::move(*note);
}

// The sentence and failure status once a listing left notes out.
int unreadableFailure(Invocation& in, const NoteListing& listing) {
    if (listing.unreadable.isEmpty())
        return 0;
    return in.failure(listing.unreadable.size() == 1
                          ? u"One note could not be read."_s
                          : u"%1 notes could not be read."_s.arg(listing.unreadable.size()));
}

void printTurns(QTextStream& out, const Note& note) {
    for (const NoteTurn& turn : note.turns) {
        QString name = note.displayName(turn.speaker);
        if (name.isEmpty())
            name = turn.speaker;
        out << u"["_s << clock(turn.startMs) << u"] "_s << name << u": "_s << turn.text << u"\n"_s;
    }
    out.flush();
}

int listNotes(Invocation& in) {
    NotesStore& store = in.app.notes();
    const NoteListing listing = store.loadAll();
    if (in.flag(u"json"_s)) {
        Json list(listing.notes);
        for (const UnreadableNote& note : listing.unreadable)
            list.push_back(Json{{"id", note.id.isNull() ? Json() : Json(note.id)},
                                {"state", "unreadable"},
                                {"folder", note.folder},
                                {"message", note.error.message}});
        in.out << QString::fromUtf8(jsonBytes(list, 2)) << Qt::endl;
        return unreadableFailure(in, listing);
    }
    if (listing.notes.isEmpty() && listing.unreadable.isEmpty())
        in.out << u"You have no notes."_s << Qt::endl;
    for (const Note& note : listing.notes) {
        in.out << uuidText(note.id).left(8) << u"  "_s << displayDate(note.createdAt) << u"  "_s
               << clock(note.durationMs) << u"  "_s
               << rawValue(note.state).toString().leftJustified(11) << u" "_s << note.title
               << u" — "_s << note.sourceDescription() << Qt::endl;
    }
    for (const UnreadableNote& note : listing.unreadable)
        in.out << (note.id.isNull() ? u"--------"_s : uuidText(note.id).left(8)) << u"  "_s
               << u"unreadable"_s.leftJustified(11) << u" "_s << note.folder << u" — "_s
               << note.error.message << Qt::endl;
    return unreadableFailure(in, listing);
}

int showNote(Invocation& in) {
    NotesStore& store = in.app.notes();
    int status = 0;
    const auto note = findNote(in, store, &status);
    if (!note)
        return status;
    if (in.flag(u"json"_s)) {
        in.out << QString::fromUtf8(jsonBytes(Json(*note), 2)) << Qt::endl;
        return 0;
    }
    in.out << u"Title: "_s << note->title << u"\nIdentifier: "_s << uuidText(note->id)
           << u"\nCreated: "_s << displayDate(note->createdAt) << u"\nLength: "_s
           << clock(note->durationMs) << u"\nState: "_s << rawValue(note->state).toString()
           << u"\nSource: "_s << note->sourceDescription() << u"\nSections: "_s
           << note->completedSections() << u" of "_s << note->sections.size()
           << u" transcribed\nTurns: "_s << note->turns.size()
           << (note->turnsFinal ? u" (final)"_s : u""_s) << u"\n"_s;
    if (!note->message.isEmpty())
        in.out << u"Message: "_s << note->message << u"\n"_s;
    if (const auto audio = store.playbackPath(*note))
        in.out << u"Audio: "_s << *audio << u"\n"_s;
    for (const NoteHighlight& h : note->highlights)
        in.out << u"Highlight at "_s << clock(h.atMs)
               << (h.label.isEmpty() ? u""_s : u": "_s + h.label) << u"\n"_s;
    if (!note->preview().isEmpty())
        in.out << u"\n"_s << note->preview() << u"\n"_s;
    in.out.flush();
    return 0;
}

int transcript(Invocation& in) {
    NotesStore& store = in.app.notes();
    int status = 0;
    const auto note = findNote(in, store, &status);
    if (!note)
        return status;
    if (note->turns.isEmpty())
        return in.failure(u"This note has no transcript yet."_s);
    printTurns(in.out, *note);
    return 0;
}

int names(Invocation& in) {
    NotesStore& store = in.app.notes();
    int status = 0;
    const auto note = findNote(in, store, &status);
    if (!note)
        return status;
    const auto suggestions = SpeakerNameSuggester::suggestions(*note);
    if (in.flag(u"json"_s)) {
        Json list = Json::array();
        for (const auto& s : suggestions)
            list.push_back(Json{{"speaker", s.speaker},
                                {"name", s.name},
                                {"order", s.order},
                                {"score", s.score},
                                {"introduced", s.introduced},
                                {"quote", s.quote},
                                {"startMs", s.startMs},
                                {"key", s.key()}});
        in.out << QString::fromUtf8(jsonBytes(list, 2)) << Qt::endl;
        return 0;
    }
    if (suggestions.isEmpty())
        in.out << (note->source == NoteSource::call
                       ? u"No names were found in this call’s transcript."_s
                       : u"Names are suggested for calls only."_s)
               << Qt::endl;
    for (const auto& s : suggestions)
        in.out << note->displayName(s.speaker) << u" → "_s << s.name << u"  ["_s << clock(s.startMs)
               << u"] “"_s << s.quote << u"”"_s << Qt::endl;
    return 0;
}

int toggleNote(Invocation& in) {
    if (const auto asked = in.app.instanceBus().toggleNote(); !asked)
        return in.failure(asked.error());
    return 0;
}

int recover(Invocation& in) {
    NotesStore& store = in.app.notes();
    const NoteRecovery recovery = store.recoverInterrupted();
    if (recovery.recovered.isEmpty() && recovery.keptAside.isEmpty() && recovery.failures.isEmpty())
        in.out << u"No note was left recording."_s << Qt::endl;
    for (const Note& note : recovery.recovered)
        in.out << u"Recovered “%1” (%2 of audio)."_s.arg(note.title, clock(note.durationMs))
               << Qt::endl;
    for (const QString& sentence : recovery.keptAside)
        in.out << sentence << Qt::endl;
    int status = 0;
    for (const StoreError& failure : recovery.failures)
        status = in.failure(failure.message);
    return status;
}

int assemble(Invocation& in) {
    NotesStore& store = in.app.notes();
    int status = 0;
    const auto note = findNote(in, store, &status);
    if (!note)
        return status;
    const auto assembled = NoteAssembly::run(store, note->id);
    if (!assembled)
        return in.failure(assembled.error().message);
    printTurns(in.out, *assembled);
    return 0;
}

// Finds the note ID names, runs one request of the note processor on it to
// its end and prints what it gave, or the sentence of its failure. Ctrl+C
// stops the request and leaves the note to be resumed.
template <typename Value>
int onNote(Invocation& in,
           const std::function<QCoro::Task<std::expected<Value, NoteProcessingError>>(
               NoteProcessor&, const QUuid&)>& request,
           const std::function<void(const Value&)>& print) {
    int status = 0;
    const auto note = findNote(in, in.app.notes(), &status);
    if (!note)
        return status;
    NoteProcessor& processor = in.app.noteProcessor();
    const QUuid id = note->id;
    Interruption interruption;
    interruption.onInterrupt = [&processor, id] { processor.cancel(id); };
    const auto outcome = QCoro::waitFor(request(processor, id));
    if (interruption.requested()) {
        in.err << u"Stopped. Run the command again to go on where it stopped."_s << Qt::endl;
        return interruption.exitStatus();
    }
    if (!outcome)
        return in.failure(outcome.error().message);
    print(*outcome);
    return 0;
}

void printSummary(QTextStream& out, const Json& stored) {
    const NoteSummary summary = NoteSummary::read(stored);
    const auto moment = [](std::optional<qint64> at) {
        return at ? u" ["_s + clock(*at) + u"]"_s : QString();
    };
    if (!summary.title.isEmpty())
        out << summary.title << u"\n"_s;
    if (!summary.overview.isEmpty())
        out << summary.overview << u"\n"_s;
    for (const NoteSummaryList& list : summary.lists()) {
        out << u"\n"_s << list.heading << u":\n"_s;
        for (const NoteSummaryItem& item : list.items)
            out << u"- "_s << item.text
                << (item.owner.isEmpty() ? QString() : u" ("_s + item.owner + u")"_s)
                << moment(item.atMs) << u"\n"_s;
    }
    if (!summary.topics.isEmpty())
        out << u"\nTopics:\n"_s;
    for (const NoteSummaryTopic& topic : summary.topics)
        out << u"- "_s << topic.title << (topic.text.isEmpty() ? QString() : u": "_s + topic.text)
            << moment(topic.momentsMs.isEmpty() ? std::nullopt
                                                : std::optional(topic.momentsMs.first()))
            << u"\n"_s;
    out.flush();
}

int process(Invocation& in) {
    return onNote<Note>(
        in,
        [&in](NoteProcessor& processor, const QUuid& id) {
            QObject::connect(&processor, &NoteProcessor::progress, &processor,
                             [&in, last = QString()](const QUuid&, const QString& stage, int done,
                                                     int total) mutable {
                                 const QString line =
                                     NoteProcessor::stageText(stage, done, total) + u"."_s;
                                 if (line != std::exchange(last, line))
                                     in.err << line << Qt::endl;
                             });
            return processor.process(id);
        },
        [&in](const Note& note) {
            printTurns(in.out, note);
            if (!note.message.isEmpty())
                in.err << note.message << Qt::endl;
        });
}

int summary(Invocation& in) {
    const bool fresh = in.flag(u"fresh"_s);
    return onNote<SummaryReply>(
        in,
        [fresh](NoteProcessor& processor, const QUuid& id) {
            return processor.summarize(id, fresh);
        },
        [&in](const SummaryReply& reply) {
            if (in.flag(u"json"_s))
                in.out << QString::fromUtf8(jsonBytes(reply.object, 2)) << Qt::endl;
            else
                printSummary(in.out, reply.object);
        });
}

int ask(Invocation& in) {
    const QString question = in.positionals()[1];
    return onNote<SummaryReply>(
        in,
        [question](NoteProcessor& processor, const QUuid& id) {
            return processor.ask(id, question);
        },
        [&in](const SummaryReply& reply) {
            const Json& answer = reply.object;
            if (in.flag(u"json"_s)) {
                in.out << QString::fromUtf8(jsonBytes(answer, 2)) << Qt::endl;
                return;
            }
            in.out << fieldOr<QString>(answer, "text", {});
            QStringList moments;
            for (const Json& citation : answer["citations"])
                if (const auto at = field<qint64>(citation, "atMs"))
                    moments << clock(*at);
            if (!moments.isEmpty())
                in.out << u" ["_s << moments.join(u", "_s) << u"]"_s;
            in.out << Qt::endl;
        });
}

// Text goes to standard output unless -o names a file; audio always goes to
// a file, by default one named after the note in the current folder, which
// is never replaced unasked.
int exportNote(Invocation& in) {
    auto format = NoteExportFormat::markdown;
    int status = 0;
    if (in.values(u"format"_s).isEmpty())
        return in.usageError(u"choose a format with --format %1"_s.arg(
            rawValueList<NoteExportFormat>().replace(u", "_s, u"|"_s)));
    if (!enumOption(in, u"format"_s, u"a format"_s, format, &status))
        return status;
    const QStringList outputs = in.values(u"o"_s);
    const std::optional<QString> output =
        outputs.isEmpty() ? std::nullopt : std::optional(outputs.last());
    if (output && output->isEmpty())
        return in.usageError(u"-o needs a file name"_s);
    const bool audio = format == NoteExportFormat::m4a;
    if (audio && output == u"-"_s)
        return in.usageError(u"M4A audio cannot be written to standard output; give -o FILE"_s);
    NotesStore& store = in.app.notes();
    const auto note = findNote(in, store, &status);
    if (!note)
        return status;
    if (!audio && (!output || *output == u"-"_s)) {
        // A failed write to standard output is caught where every command's is.
        in.out << QString::fromUtf8(NoteExport::text(*note, format));
        in.out.flush();
        return 0;
    }
    QString path = output.value_or(QString());
    if (!output) {
        path = QDir::current().filePath(NoteExport::fileName(*note, format));
        if (QFileInfo::exists(path) || QFileInfo(path).isSymLink())
            return in.failure(u"%1 already exists; give -o FILE to replace it or to choose "
                              "another name."_s.arg(QDir::toNativeSeparators(path)));
    }
    if (QFileInfo(path).isDir())
        return in.failure(u"%1 is a folder; give a file name after -o."_s.arg(path));
    // Ctrl+C stops the export and leaves nothing half written behind.
    Interruption interruption;
    const auto exported = NoteExport::write(
        store, *note, format, path, [&](qint64, qint64) { return !interruption.requested(); });
    if (!exported) {
        if (exported.error().kind == NoteExportError::Kind::stopped) {
            in.err << exported.error().message << Qt::endl;
            return interruption.exitStatus();
        }
        return in.failure(exported.error().message);
    }
    in.out << u"Exported “%1” to %2."_s.arg(note->title, path) << Qt::endl;
    return 0;
}

} // namespace

int runNotesCommand(AppContext& app, const QStringList& arguments, QTextStream& out,
                    QTextStream& err) {
    const QList<Subcommand> subcommands{
        {u"list"_s,
         {u"notes list [--json]"_s,
          u"Lists your notes, newest first; --json prints the stored records."_s},
         0,
         {u"json"_s},
         {},
         listNotes},
        {u"show"_s,
         {u"notes show ID [--json]"_s,
          u"Shows one note; ID is its identifier or the first characters of it."_s},
         1,
         {u"json"_s},
         {},
         showNote},
        {u"transcript"_s,
         {u"notes transcript ID"_s,
          u"Prints the note’s transcript: each turn with its speaker and time."_s},
         1,
         {},
         {},
         transcript},
        {u"names"_s,
         {u"notes names ID [--json]"_s,
          u"Suggests people’s names for the two speakers of a call, from what they say."_s},
         1,
         {u"json"_s},
         {},
         names},
        {u"record"_s,
         {u"notes record [--call] [--seconds N]"_s,
          u"Records a note from the microphone, and with --call also this computer’s audio,\n"
          "until Ctrl+C or N seconds; prints the new note’s identifier."_s},
         0,
         {u"call"_s},
         {u"seconds"_s},
         recordNote},
        {u"toggle"_s,
         {u"notes toggle"_s,
          u"Starts a note in the running Parlevo, or stops the one under way, as the Notes\n"
          "shortcut does; bind it to a key in your desktop's settings."_s},
         0,
         {},
         {},
         toggleNote},
        {u"recover"_s,
         {u"notes recover"_s,
          u"Repairs notes left recording when Parlevo quit, as start-up does, and marks them\n"
          "interrupted; their audio is kept."_s},
         0,
         {},
         {},
         recover},
        {u"assemble"_s,
         {u"notes assemble ID"_s,
          u"Builds the final speaker turns of a note whose sections are all transcribed,\n"
          "stores them and prints the transcript."_s},
         1,
         {},
         {},
         assemble},
        {u"process"_s,
         {u"notes process ID"_s,
          u"Transcribes the sections not transcribed yet, tells the speakers apart, saves the\n"
          "audio as audio.m4a and writes the summary; a note stopped half-way goes on where\n"
          "it stopped. Prints the transcript."_s},
         1,
         {},
         {},
         process},
        {u"summary"_s,
         {u"notes summary ID [--fresh] [--json]"_s,
          u"Prints the note’s summary, making it when the transcript has none yet or changed;\n"
          "--fresh asks for a new one."_s},
         1,
         {u"fresh"_s, u"json"_s},
         {},
         summary},
        {u"ask"_s,
         {u"notes ask ID QUESTION [--json]"_s,
          u"Answers a question about the note from its transcript, with the moments the\n"
          "answer comes from."_s},
         2,
         {u"json"_s},
         {},
         ask},
        {u"export"_s,
         {u"notes export ID --format md|srt|vtt|json|m4a [-o FILE]"_s,
          u"Exports a note: its transcript and summary as Markdown, subtitles as SRT or\n"
          "WebVTT, the whole record as JSON, or its audio as M4A (16 kHz, one channel).\n"
          "Text goes to standard output unless -o FILE is given; M4A goes to FILE, or to\n"
          "a file named after the note in the current folder, never replaced unasked."_s},
         1,
         {},
         {u"format"_s, u"o"_s},
         exportNote},
    };
    return dispatch(app, u"notes"_s, subcommands, arguments, out, err);
}

} // namespace quendra
