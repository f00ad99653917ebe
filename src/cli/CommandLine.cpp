#include "CommandLine.h"

#include "CommandSupport.h"

#include <QFileDevice>
#include <QHash>
#include <QStringDecoder>

#include <cerrno>
#include <cstdio>
#include <cstring>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

const QString overview =
    u"Parlevo: dictation into any text field, and a recorder for calls and meetings.\n"
    "\n"
    "Usage:\n"
    "  parlevo                 start the application (needs a graphical display)\n"
    "  parlevo words ...       your Words: preferred spellings and how they are heard\n"
    "  parlevo snippets ...    voice snippets: spoken triggers and their texts\n"
    "  parlevo dictation ...   start, finish or cancel a dictation in the running application\n"
    "  parlevo history ...     the history of your dictations\n"
    "  parlevo notes ...       recorded calls and meetings\n"
    "  parlevo finish          finish a raw transcript from standard input as dictation\n"
    "  parlevo account ...     your Parlevo sign-in: status, browser sign-in, access codes\n"
    "  parlevo record OUT.wav  record the microphone as a dictation would\n"
    "  parlevo transcribe FILE transcribe a recording and print the finished text\n"
    "  parlevo doctor          checks what dictation needs from this computer\n"
    "  parlevo target --watch  follows the field that dictation would write into\n"
    "  parlevo insert TEXT     writes TEXT into the focused field like a dictation\n"
    "\n"
    "Run “parlevo COMMAND --help” for the commands of each group. The command line\n"
    "reads and writes the same data as the application; only doctor, target and\n"
    "insert need the desktop."_s;

using GroupRunner = int (*)(AppContext&, const QStringList&, QTextStream&, QTextStream&);

GroupRunner groupRunner(const QString& name) {
    static const QHash<QString, GroupRunner> groups{
        {u"words"_s, runWordsCommand},     {u"snippets"_s, runSnippetsCommand},
        {u"history"_s, runHistoryCommand}, {u"notes"_s, runNotesCommand},
        {u"finish"_s, runFinishCommand},   {u"account"_s, runAccountCommand},
        {u"record"_s, runRecordCommand},   {u"transcribe"_s, runTranscribeCommand},
        {u"doctor"_s, runDoctorCommand},   {u"target"_s, runTargetCommand},
        {u"insert"_s, runInsertCommand},   {u"dictation"_s, runDictationCommand},
    };
    return groups.value(name, nullptr);
}

} // namespace

std::expected<QStringList, QString> decodeArguments(int argc, char** argv) {
    QStringList arguments;
    for (int i = 0; i < argc; ++i) {
        QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
        arguments << decoder.decode(QByteArrayView(argv[i]));
        if (decoder.hasError())
            return std::unexpected(
                u"parlevo: “%1” is not UTF-8 text; Parlevo takes file names and text in UTF-8 "
                "only."_s.arg(arguments.last()));
    }
    return arguments;
}

bool wantsCommandLine(const QStringList& arguments) {
    // The login item starts the application itself, quietly.
    for (qsizetype i = 1; i < arguments.size(); ++i)
        if (!arguments[i].startsWith(u"--qa-"_s) && arguments[i] != autostartSwitch)
            return true;
    return false;
}

bool commandNeedsDisplay(const QStringList& arguments) {
    static const QStringList desktopCommands{u"doctor"_s, u"target"_s, u"insert"_s};
    const bool copies = arguments.value(0) == u"history"_s && arguments.value(1) == u"retry"_s &&
                        arguments.contains(u"--copy"_s);
    return (desktopCommands.contains(arguments.value(0)) || copies) &&
           !arguments.contains(u"--help"_s);
}

int finishOutput(int status, QTextStream& out, QTextStream& err) {
    out.flush();
    const auto* file = qobject_cast<QFileDevice*>(out.device());
    const bool fileFailed = file && file->error() != QFileDevice::NoError;
    errno = 0;
    const bool flushed = std::fflush(stdout) == 0 && !std::ferror(stdout);
    if (flushed && !fileFailed && out.status() == QTextStream::Ok)
        return status;
    const QString reason = fileFailed ? file->errorString()
                           : errno    ? QString::fromLocal8Bit(std::strerror(errno))
                                      : QString();
    err << (reason.isEmpty() ? u"parlevo: the output could not be written."_s
                             : u"parlevo: the output could not be written (%1)."_s.arg(reason))
        << Qt::endl;
    return status == int(ExitStatus::success) ? int(ExitStatus::failure) : status;
}

int runCommandLine(AppContext& app, const QStringList& arguments, QTextStream& out,
                   QTextStream& err) {
    const QString first = arguments.value(0);
    if (first == u"--help"_s || first == u"-h"_s || first == u"help"_s) {
        out << overview << Qt::endl;
        return int(ExitStatus::success);
    }
    if (first == u"--version"_s) {
        out << u"parlevo " PARLEVO_VERSION ""_s << Qt::endl;
        return int(ExitStatus::success);
    }
    if (const GroupRunner run = groupRunner(first))
        return run(app, arguments.mid(1), out, err);
    err << u"parlevo: “%1” is not a command; run “parlevo --help” to see the commands."_s.arg(first)
        << Qt::endl;
    return int(ExitStatus::usage);
}

} // namespace quendra
