#include "CommandSupport.h"

#include "model/AppDataStore.h"
#include "model/TextBounding.h"
#include "model/WordSuggestions.h"

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

int listSuggestions(Invocation& in) {
    if (auto status = refuseUnreadable(in))
        return *status;
    const auto suggestions = suggestWords(in.app.store());
    printNotices(in);
    if (in.flag(u"json"_s)) {
        Json array = Json::array();
        for (const auto& s : suggestions)
            array.push_back({{"word", s.word}, {"dictations", s.dictations}});
        in.out << QString::fromUtf8(jsonBytes(array, 2)) << Qt::endl;
        return 0;
    }
    if (suggestions.isEmpty())
        in.out << u"There are no word suggestions yet: names and terms you dictate in two or "
                  "more dictations appear here."_s
               << Qt::endl;
    for (const auto& s : suggestions)
        in.out << u"%1  (seen in %2 dictations)"_s.arg(s.word).arg(s.dictations) << Qt::endl;
    return 0;
}

int dismissSuggestion(Invocation& in) {
    const QString word = in.positionals()[0].trimmed();
    if (AppDataStore::normalisedSuggestionWord(word).isEmpty())
        return in.usageError(u"the word has no letters or digits"_s);
    if (auto status = refuseUnreadable(in))
        return *status;
    if (auto saved = in.app.store().dismissWordSuggestions({word}); !saved)
        return storeFailure(in, saved.error());
    printNotices(in);
    in.out << u"“%1” will not be suggested again."_s.arg(word) << Qt::endl;
    return 0;
}

int importWords(Invocation& in) {
    return importList(in, TransferList::words);
}

int exportWords(Invocation& in) {
    return exportList(in, TransferList::words);
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
        {u"suggestions"_s,
         {u"words suggestions [--json]"_s,
          u"Lists names and terms from your history that your Words do not have yet,\n"
          "with the number of dictations each was seen in."_s},
         0,
         {u"json"_s},
         {},
         listSuggestions},
        {u"accept"_s,
         {u"words accept WORD"_s, u"Adds a suggested word to your Words."_s},
         1,
         {},
         {},
         addWord},
        {u"dismiss"_s,
         {u"words dismiss WORD"_s, u"Stops suggesting WORD (in any case)."_s},
         1,
         {},
         {},
         dismissSuggestion},
        {u"import"_s,
         {u"words import FILE [--format csv|json]"_s,
          u"Adds the words of a CSV or JSON file to your Words; a spelling you have\n"
          "gains the file's spoken forms. A file with any fault changes nothing."_s},
         1,
         {},
         {u"format"_s},
         importWords},
        {u"export"_s,
         {u"words export FILE [--format csv|json]"_s,
          u"Writes your Words to a CSV or JSON file; FILE “-” writes to standard output\n"
          "(JSON unless --format csv)."_s},
         1,
         {},
         {u"format"_s},
         exportWords},
    };
    return dispatch(app, u"words"_s, subcommands, arguments, out, err);
}

} // namespace quendra
