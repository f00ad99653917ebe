#include "CommandSupport.h"

#include "model/AppDataStore.h"
#include "model/TextBounding.h"
#include "model/UserDefaults.h"

#include <QDateTime>
#include <QRegularExpression>

#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

Invocation::Invocation(AppContext& app, QString command, QStringList arguments, QTextStream& out,
                       QTextStream& err)
    : app(app)
    , out(out)
    , err(err)
    , command(std::move(command))
    , arguments(std::move(arguments)) {}

bool Invocation::parse(const CommandHelp& usage, int positionals, const QStringList& flags,
                       const QStringList& valueOptions) {
    bool optionsEnded = false;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& a = arguments[i];
        if (optionsEnded || !a.startsWith(u'-') || a == u"-"_s) {
            positional << a;
            continue;
        }
        if (a == u"--"_s) {
            optionsEnded = true;
            continue;
        }
        if (a == u"--help"_s || a == u"-h"_s) {
            help = true;
            continue;
        }
        // A one-letter option is written with one dash ("-o FILE").
        const bool letter = a.size() == 2 && a != u"--"_s;
        const qsizetype eq = letter ? -1 : a.indexOf(u'=');
        const QString name = letter ? a.mid(1) : a.mid(2, eq < 0 ? -1 : eq - 2);
        const bool named = letter || a.startsWith(u"--"_s);
        if (named && flags.contains(name) && eq < 0) {
            flagsSet.insert(name);
        } else if (named && valueOptions.contains(name)) {
            if (eq >= 0) {
                optionValues.insert(name, a.mid(eq + 1));
            } else if (i + 1 < arguments.size()) {
                optionValues.insert(name, arguments[++i]);
            } else {
                usageError(u"the option %1 needs a value"_s.arg(a));
                return false;
            }
        } else {
            usageError(u"%1 is not an option of this command"_s.arg(a));
            return false;
        }
    }
    if (help)
        return true;
    if (positional.size() != positionals) {
        // What the usage line names after the command itself.
        const QString words = usage.usage.startsWith(command + u' ')
                                  ? usage.usage.mid(command.size() + 1)
                                  : QString();
        usageError(positional.size() < positionals
                       ? u"it needs %1"_s.arg(words.isEmpty() ? u"more arguments"_s : words)
                       : u"it takes %1 argument%2, not %3"_s.arg(positionals)
                             .arg(positionals == 1 ? u""_s : u"s"_s)
                             .arg(positional.size()));
        return false;
    }
    return true;
}

QStringList Invocation::values(const QString& name) const {
    QStringList list = optionValues.values(name);
    std::reverse(list.begin(), list.end()); // QMultiMap keeps the newest first
    return list;
}

int Invocation::usageError(const QString& sentence) const {
    err << u"parlevo %1: %2; run “parlevo %1 --help” for its usage."_s.arg(command, sentence)
        << Qt::endl;
    return int(ExitStatus::usage);
}

int Invocation::failure(const QString& sentence) const {
    err << sentence << Qt::endl;
    return int(ExitStatus::failure);
}

int Invocation::printHelp(const CommandHelp& usage) const {
    out << u"Usage: parlevo "_s << usage.usage << u"\n\n"_s << usage.description << Qt::endl;
    return int(ExitStatus::success);
}

std::pair<IdLookup, QUuid> findIdentifier(const QString& text, const QList<QUuid>& ids) {
    const QString wanted = text.trimmed().toUpper();
    const QUuid whole = QUuid::fromString(wanted);
    if (!whole.isNull())
        return {ids.contains(whole) ? IdLookup::found : IdLookup::missing, whole};
    static const QRegularExpression hex(u"^[0-9A-F-]{4,36}$"_s);
    if (!hex.match(wanted).hasMatch())
        return {IdLookup::malformed, {}};
    QList<QUuid> hits;
    for (const QUuid& id : ids)
        if (id.toString(QUuid::WithoutBraces).toUpper().startsWith(wanted))
            hits << id;
    if (hits.size() == 1)
        return {IdLookup::found, hits.first()};
    return {hits.isEmpty() ? IdLookup::missing : IdLookup::ambiguous, {}};
}

void printNotices(Invocation& in) {
    for (const QString& notice : in.app.defaults().takeNotices())
        in.err << notice << Qt::endl;
}

std::optional<int> refuseUnreadable(Invocation& in) {
    printNotices(in);
    if (const auto& problem = in.app.defaults().readProblem())
        return in.failure(problem->message);
    return std::nullopt;
}

int storeFailure(Invocation& in, const StoreError& error) {
    printNotices(in);
    if (error.kind == StoreError::Kind::notSaved)
        return in.failure(error.message + u" Nothing was changed."_s);
    return in.failure(error.message);
}

namespace {

// The format --format names; with none given, `fallback`. A usage error (its
// status in `*status`) for a name that is not one.
std::optional<TransferFormat> formatOption(Invocation& in, std::optional<TransferFormat> fallback,
                                           int* status) {
    const QStringList given = in.values(u"format"_s);
    if (given.isEmpty()) {
        if (!fallback)
            *status = in.failure(u"Choose a .csv or .json file, or give --format csv or json."_s);
        return fallback;
    }
    const auto named = transferFormatNamed(given.last());
    if (!named)
        *status = in.usageError(u"“%1” is not a format; use csv or json"_s.arg(given.last()));
    return named;
}

} // namespace

int importList(Invocation& in, TransferList list) {
    const QString path = in.positionals()[0];
    int status = 0;
    const auto format = formatOption(in, transferFormat(path), &status);
    if (!format)
        return status;
    if (auto unreadable = refuseUnreadable(in))
        return *unreadable;
    AppDataStore& store = in.app.store();
    const auto imported = list == TransferList::words ? importDictionary(store, path, *format)
                                                      : importSnippets(store, path, *format);
    printNotices(in);
    if (!imported)
        return in.failure(imported.error().message);
    in.out << imported->sentence() << Qt::endl;
    return 0;
}

int exportList(Invocation& in, TransferList list) {
    const QString path = in.positionals()[0];
    const bool toOutput = path == u"-"_s;
    int status = 0;
    const auto format =
        formatOption(in, toOutput ? TransferFormat::json : transferFormat(path), &status);
    if (!format)
        return status;
    if (auto unreadable = refuseUnreadable(in))
        return *unreadable;
    const AppDataStore& store = in.app.store();
    const bool words = list == TransferList::words;
    if (toOutput) {
        // A failed write to standard output is caught where every command's is.
        in.out << QString::fromUtf8(words ? encodeDictionary(store.dictionaryEntries(), *format)
                                          : encodeSnippets(store.snippets(), *format));
        printNotices(in);
        return 0;
    }
    const auto exported =
        words ? exportDictionary(store, path, *format) : exportSnippets(store, path, *format);
    printNotices(in);
    if (!exported)
        return in.failure(exported.error().message);
    const qsizetype count = words ? store.dictionaryEntries().size() : store.snippets().size();
    const QString noun =
        words ? (count == 1 ? u"word"_s : u"words"_s) : (count == 1 ? u"snippet"_s : u"snippets"_s);
    in.out << u"Wrote %1 %2 to %3."_s.arg(count).arg(noun, path) << Qt::endl;
    return 0;
}

std::optional<double> parseSeconds(const QString& text) {
    constexpr double week = 7 * 24 * 3600;
    bool ok = false;
    const double seconds = text.toDouble(&ok);
    if (!ok || !std::isfinite(seconds) || seconds < 0 || seconds > week)
        return std::nullopt;
    return seconds;
}

QString displayDate(const QDateTime& date) {
    return date.toLocalTime().toString(u"yyyy-MM-dd HH:mm"_s);
}

QString oneLine(const QString& text, qsizetype maxCharacters) {
    const QString flat = text.simplified();
    if (characterCount(flat) <= maxCharacters)
        return flat;
    return prefixCharacters(flat, maxCharacters - 1).trimmed() + u"…"_s;
}

int dispatch(AppContext& app, const QString& group, const QList<Subcommand>& subcommands,
             const QStringList& arguments, QTextStream& out, QTextStream& err) {
    const QString first = arguments.value(0);
    if (first.isEmpty()) {
        err << u"parlevo %1: a command is missing; run “parlevo %1 --help” to see them."_s.arg(
                   group)
            << Qt::endl;
        return int(ExitStatus::usage);
    }
    if (first == u"--help"_s || first == u"-h"_s || first == u"help"_s) {
        out << u"Usage: parlevo "_s << group << u" COMMAND\n\nCommands:\n"_s;
        for (const auto& s : subcommands)
            out << u"  parlevo "_s << s.help.usage << u"\n      "_s
                << QString(s.help.description).replace(u"\n"_s, u"\n      "_s) << u"\n"_s;
        out.flush();
        return int(ExitStatus::success);
    }
    for (const auto& s : subcommands) {
        if (s.name != first)
            continue;
        Invocation invocation(app, group + u' ' + s.name, arguments.mid(1), out, err);
        if (!invocation.parse(s.help, s.positionals, s.flags, s.valueOptions))
            return int(ExitStatus::usage);
        if (invocation.helpRequested())
            return invocation.printHelp(s.help);
        return s.run(invocation);
    }
    err << u"parlevo %1: “%2” is not one of its commands; run “parlevo %1 --help” to see them."_s
               .arg(group, first)
        << Qt::endl;
    return int(ExitStatus::usage);
}

std::function<void(TranscriptionProgress)> partProgress(Invocation& in) {
    return [&in](TranscriptionProgress progress) {
        if (progress.totalParts > 1)
            in.err << u"Part %1 of %2 transcribed.\n"_s.arg(progress.finishedParts)
                          .arg(progress.totalParts)
                   << Qt::flush;
    };
}

} // namespace quendra
