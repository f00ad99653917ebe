#include "CommandSupport.h"

#include "model/AppDataStore.h"
#include "model/TextBounding.h"

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

int listWords(Invocation& in) {
    if (auto status = refuseUnreadable(in))
        return *status;
    const auto entries = in.app.store().dictionaryEntries();
    printNotices(in);
    if (in.flag(u"json"_s)) {
        in.out << QString::fromUtf8(jsonBytes(Json(entries), 2)) << Qt::endl;
        return 0;
    }
    if (entries.isEmpty())
        in.out << u"Your Words list is empty."_s << Qt::endl;
    for (const auto& e : entries) {
        in.out << e.spelling;
        if (!e.spokenForms.isEmpty())
            in.out << u" — heard as: "_s << e.spokenForms.join(u"; "_s);
        in.out << Qt::endl;
    }
    return 0;
}

int addWord(Invocation& in) {
    const QString spelling = boundText(in.positionals()[0], AppDataStore::spellingLimit);
    if (spelling.isEmpty())
        return in.usageError(u"the spelling is empty"_s);
    if (auto status = refuseUnreadable(in))
        return *status;
    AppDataStore& store = in.app.store();
    const auto entries = store.dictionaryEntries();
    const bool known = std::any_of(entries.cbegin(), entries.cend(), [&](const auto& e) {
        return e.spelling.compare(spelling, Qt::CaseInsensitive) == 0;
    });
    if (auto saved = store.saveReviewedSpelling(spelling, in.values(u"form"_s)); !saved)
        return storeFailure(in, saved.error());
    printNotices(in);
    in.out
        << (known ? u"Updated “%1” in your Words."_s : u"Added “%1” to your Words."_s).arg(spelling)
        << Qt::endl;
    return 0;
}

int removeWord(Invocation& in) {
    if (auto status = refuseUnreadable(in))
        return *status;
    AppDataStore& store = in.app.store();
    const QString spelling = boundText(in.positionals()[0], AppDataStore::spellingLimit);
    for (const auto& e : store.dictionaryEntries()) {
        if (e.spelling.compare(spelling, Qt::CaseInsensitive) == 0) {
            if (auto removed = store.removeDictionaryEntry(e.id); !removed)
                return storeFailure(in, removed.error());
            printNotices(in);
            in.out << u"Removed “%1” from your Words."_s.arg(e.spelling) << Qt::endl;
            return 0;
        }
    }
    return in.failure(u"“%1” is not in your Words."_s.arg(spelling));
}

} // namespace

int runWordsCommand(AppContext& app, const QStringList& arguments, QTextStream& out,
                    QTextStream& err) {
    const QList<Subcommand> subcommands{
        {u"list"_s,
         {u"words list [--json]"_s,
          u"Lists your Words with the ways each is heard; --json prints the stored records."_s},
         0,
         {u"json"_s},
         {},
         listWords},
        {u"add"_s,
         {u"words add SPELLING [--form TEXT]..."_s,
          u"Adds a spelling, or adds spoken forms to one you have; each --form is a way\n"
          "the word is heard that is to be written as SPELLING."_s},
         1,
         {},
         {u"form"_s},
         addWord},
        {u"remove"_s,
         {u"words remove SPELLING"_s, u"Removes a spelling (in any case) from your Words."_s},
         1,
         {},
         {},
         removeWord},
    };
    return dispatch(app, u"words"_s, subcommands, arguments, out, err);
}

} // namespace quendra
