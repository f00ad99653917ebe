#pragma once

#include "transcription/TranscriptionService.h"

// What every subcommand shares: argument parsing, usage errors and the
// lookup of records by identifier.

#include "CommandLine.h"
#include "context/AppContext.h"
#include "model/RawValueEnum.h"
#include "model/StoreError.h"
#include "model/WordsTransfer.h"

#include <QDateTime>
#include <QMultiMap>
#include <QSet>
#include <QUuid>

#include <optional>

namespace quendra {

struct CommandHelp {
    QString usage;       // "words add SPELLING [--form TEXT]..."
    QString description; // one or two lines
};

class Invocation {
public:
    Invocation(AppContext& app, QString command, QStringList arguments, QTextStream& out,
               QTextStream& err);

    // Parses the arguments of a leaf command; false (after printing the
    // reason) when they do not fit.
    bool parse(const CommandHelp& help, int positionals, const QStringList& flags,
               const QStringList& valueOptions = {});

    bool helpRequested() const { return help; }
    bool flag(const QString& name) const { return flagsSet.contains(name); }
    QStringList values(const QString& name) const;
    const QStringList& positionals() const { return positional; }

    // Prints one sentence about bad arguments and returns the usage status.
    int usageError(const QString& sentence) const;
    // Prints one sentence about a failure and returns the failure status.
    int failure(const QString& sentence) const;
    int printHelp(const CommandHelp& help) const;

    // The owner of every object a command uses.
    AppContext& app;
    QTextStream& out;
    QTextStream& err;
    const QString command; // "words add"

private:
    QStringList arguments;
    QStringList positional;
    QSet<QString> flagsSet;
    QMultiMap<QString, QString> optionValues;
    bool help = false;
};

// Finds the one identifier among `ids` that `text` names: the whole UUID, or
// a prefix of its upper-case form of at least four characters.
enum class IdLookup { found, missing, ambiguous, malformed };
std::pair<IdLookup, QUuid> findIdentifier(const QString& text, const QList<QUuid>& ids);

// "a, b, c": every raw value of E, for usage errors.
template <RawValueEnum E>
QString rawValueList() {
    QStringList names;
    for (E value : allCases<E>())
        names << rawValue(value).toString();
    return names.join(u", ");
}

// Reads the last value given for `option` as a case of E into `value`; false
// after printing a usage error naming `what` ("a style"), with its status in
// `*status`.
template <RawValueEnum E>
bool enumOption(Invocation& in, const QString& option, const QString& what, E& value, int* status) {
    const QStringList given = in.values(option);
    if (given.isEmpty())
        return true;
    const auto parsed = fromRawValue<E>(given.last());
    if (!parsed) {
        *status = in.usageError(QStringLiteral("“%1” is not %2; use one of %3")
                                    .arg(given.last(), what, rawValueList<E>()));
        return false;
    }
    value = *parsed;
    return true;
}

// The defaults database as commands use it. Each prints on standard error
// what the store kept aside meanwhile; the first gives the failure status when
// the file could not be read, so that nothing is listed as empty or changed
// that is not.
std::optional<int> refuseUnreadable(Invocation& in);
// Prints the sentence of a change that did not happen and gives the status.
int storeFailure(Invocation& in, const StoreError& error);
void printNotices(Invocation& in);
// Prints "Part N of M transcribed." on standard error for a recording sent in parts.
std::function<void(TranscriptionProgress)> partProgress(Invocation& in);

// "words import" and "snippets import", "words export" and "snippets export":
// FILE in the format of --format or of its extension; "-" exports to standard
// output, as JSON unless --format says otherwise.
int importList(Invocation& in, TransferList list);
int exportList(Invocation& in, TransferList list);

// A number of seconds as an option gives it: finite, not negative and at most
// a week, so that it fits every timer it is turned into. None otherwise.
std::optional<double> parseSeconds(const QString& text);

QString displayDate(const QDateTime& date);
QString oneLine(const QString& text, qsizetype maxCharacters);

int runWordsCommand(AppContext& app, const QStringList& arguments, QTextStream& out,
                    QTextStream& err);
int runSnippetsCommand(AppContext& app, const QStringList& arguments, QTextStream& out,
                       QTextStream& err);
int runHistoryCommand(AppContext& app, const QStringList& arguments, QTextStream& out,
                      QTextStream& err);
int runNotesCommand(AppContext& app, const QStringList& arguments, QTextStream& out,
                    QTextStream& err);
// "finish" reads its text from standard input, or from `input`.
int runFinishCommand(AppContext& app, const QStringList& arguments, QTextStream& out,
                     QTextStream& err);
int runFinishCommand(AppContext& app, const QStringList& arguments, QIODevice& input,
                     QTextStream& out, QTextStream& err);
int runAccountCommand(AppContext& app, const QStringList& arguments, QTextStream& out,
                      QTextStream& err);
// Asks the running application to start, finish or drop a dictation.
int runDictationCommand(AppContext& app, const QStringList& arguments, QTextStream& out,
                        QTextStream& err);
int runRecordCommand(AppContext& app, const QStringList& arguments, QTextStream& out,
                     QTextStream& err);
// "notes record": records a note into the notes store.
int recordNote(Invocation& in);
// The value of --seconds: 0 when absent, none (after a usage error) when bad.
std::optional<double> secondsOption(Invocation& in, int* status);
int runTranscribeCommand(AppContext& app, const QStringList& arguments, QTextStream& out,
                         QTextStream& err);
int runDoctorCommand(AppContext& app, const QStringList& arguments, QTextStream& out,
                     QTextStream& err);
int runTargetCommand(AppContext& app, const QStringList& arguments, QTextStream& out,
                     QTextStream& err);
int runInsertCommand(AppContext& app, const QStringList& arguments, QTextStream& out,
                     QTextStream& err);

// Dispatches "group sub ..." to the handler named by the first argument;
// prints the group's help or a usage error otherwise.
struct Subcommand {
    QString name;
    CommandHelp help;
    int positionals = 0;
    QStringList flags;
    QStringList valueOptions;
    int (*run)(Invocation&) = nullptr;
};
int dispatch(AppContext& app, const QString& group, const QList<Subcommand>& subcommands,
             const QStringList& arguments, QTextStream& out, QTextStream& err);

} // namespace quendra
