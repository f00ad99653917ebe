#include "CommandSupport.h"

#include "model/AppDataStore.h"

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

int showHistory(Invocation& in) {
    if (auto status = refuseUnreadable(in))
        return *status;
    const auto history = in.app.store().history();
    QList<QUuid> ids;
    for (const auto& e : history)
        ids << e.id;
    const auto [lookup, id] = findIdentifier(in.positionals()[0], ids);
    switch (lookup) {
    case IdLookup::malformed:
        return in.usageError(u"“%1” is not an entry identifier"_s.arg(in.positionals()[0]));
    case IdLookup::ambiguous:
        return in.usageError(u"“%1” starts more than one identifier"_s.arg(in.positionals()[0]));
    case IdLookup::missing:
        return in.failure(u"No history entry has the identifier %1."_s.arg(in.positionals()[0]));
    case IdLookup::found:
        break;
    }
    const auto& e =
        *std::find_if(history.begin(), history.end(), [&](const auto& x) { return x.id == id; });
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
    };
    return dispatch(app, u"history"_s, subcommands, arguments, out, err);
}

} // namespace quendra
