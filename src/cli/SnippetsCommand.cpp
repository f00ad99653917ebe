#include "CommandSupport.h"

#include "model/AppDataStore.h"
#include "model/TextBounding.h"

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

int listSnippets(Invocation& in) {
    if (auto status = refuseUnreadable(in))
        return *status;
    const auto snippets = in.app.store().snippets();
    if (in.flag(u"json"_s)) {
        in.out << QString::fromUtf8(jsonBytes(Json(snippets), 2)) << Qt::endl;
        return 0;
    }
    if (snippets.isEmpty())
        in.out << u"You have no voice snippets."_s << Qt::endl;
    for (const auto& s : snippets)
        in.out << s.trigger << u" → "_s << oneLine(s.expansion, 70) << Qt::endl;
    return 0;
}

int addSnippet(Invocation& in) {
    const QString trigger = boundText(in.positionals()[0], AppDataStore::triggerLimit);
    if (trigger.isEmpty())
        return in.usageError(u"the trigger is empty"_s);
    if (in.positionals()[1].trimmed().isEmpty())
        return in.usageError(u"the expansion is empty"_s);
    if (auto status = refuseUnreadable(in))
        return *status;
    if (auto saved = in.app.store().saveSnippet(trigger, in.positionals()[1]); !saved)
        return storeFailure(in, saved.error());
    printNotices(in);
    in.out << u"Saying “%1” now writes the snippet."_s.arg(trigger) << Qt::endl;
    return 0;
}

int removeSnippet(Invocation& in) {
    if (auto status = refuseUnreadable(in))
        return *status;
    AppDataStore& store = in.app.store();
    const QString trigger = boundText(in.positionals()[0], AppDataStore::triggerLimit);
    for (const auto& s : store.snippets()) {
        if (s.trigger.compare(trigger, Qt::CaseInsensitive) == 0) {
            if (auto removed = store.removeSnippet(s.id); !removed)
                return storeFailure(in, removed.error());
            printNotices(in);
            in.out << u"Removed the snippet “%1”."_s.arg(s.trigger) << Qt::endl;
            return 0;
        }
    }
    return in.failure(u"No snippet has the trigger “%1”."_s.arg(trigger));
}

int importSnippetFile(Invocation& in) {
    return importList(in, TransferList::snippets);
}

int exportSnippetFile(Invocation& in) {
    return exportList(in, TransferList::snippets);
}

} // namespace

int runSnippetsCommand(AppContext& app, const QStringList& arguments, QTextStream& out,
                       QTextStream& err) {
    const QList<Subcommand> subcommands{
        {u"list"_s,
         {u"snippets list [--json]"_s,
          u"Lists your voice snippets; --json prints the stored records."_s},
         0,
         {u"json"_s},
         {},
         listSnippets},
        {u"add"_s,
         {u"snippets add TRIGGER EXPANSION"_s,
          u"Saves a snippet: saying TRIGGER in a dictation writes EXPANSION instead.\n"
          "A snippet with the same trigger (in any case) is replaced."_s},
         2,
         {},
         {},
         addSnippet},
        {u"remove"_s,
         {u"snippets remove TRIGGER"_s, u"Removes the snippet with that trigger (in any case)."_s},
         1,
         {},
         {},
         removeSnippet},
        {u"import"_s,
         {u"snippets import FILE [--format csv|json]"_s,
          u"Adds the snippets of a CSV or JSON file; a trigger you have takes the\n"
          "file's expansion. A file with any fault changes nothing."_s},
         1,
         {},
         {u"format"_s},
         importSnippetFile},
        {u"export"_s,
         {u"snippets export FILE [--format csv|json]"_s,
          u"Writes your snippets to a CSV or JSON file; FILE “-” writes to standard\n"
          "output (JSON unless --format csv)."_s},
         1,
         {},
         {u"format"_s},
         exportSnippetFile},
    };
    return dispatch(app, u"snippets"_s, subcommands, arguments, out, err);
}

} // namespace quendra
