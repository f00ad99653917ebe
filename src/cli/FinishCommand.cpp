#include "CommandSupport.h"

#include "model/AppDataStore.h"
#include "transcription/DictationIntelligence.h"

#include <QFile>
#include <QStringDecoder>

#include <cstdio>

// "parlevo finish": the local engines' finishing pass on text from standard
// input, with the user's Words and settings; options override the settings.

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

const CommandHelp finishHelp{
    u"finish [--style RAW] [--language CODE] [--reply-assist] [--json]"_s,
    u"Reads a raw transcript on standard input and prints it finished as the local\n"
    "engines finish it: fillers and stutters removed, your Words applied, spacing,\n"
    "capitals and punctuation for the style. --style is one of exact, clean, polished,\n"
    "excited, casual, prompt; --language a language code such as en or auto (both\n"
    "default to your settings); --reply-assist composes “Tell them …” as a reply;\n"
    "--json prints the finished text with its raw and trigger forms."_s};

// Standard input as text, read no further than the finishing pass could take
// (three bytes per character at most), so that an endless stream is refused
// for its length instead of filling memory.
std::expected<QString, QString> readText(QIODevice& input) {
    constexpr qint64 largestInput = 3 * DictationIntelligence::longestText + 1;
    QByteArray bytes(largestInput, Qt::Uninitialized);
    qint64 filled = 0;
    while (filled < largestInput) {
        const qint64 got = input.read(bytes.data() + filled, largestInput - filled);
        if (got < 0)
            return std::unexpected(u"Standard input could not be read."_s);
        if (got == 0)
            break;
        filled += got;
    }
    bytes.truncate(filled);
    QStringDecoder decoder(QStringDecoder::Utf8);
    QString text = decoder.decode(bytes);
    // Cut off at the limit, the text is refused for its length whatever its last bytes.
    if (decoder.hasError() && filled < largestInput)
        return std::unexpected(u"Standard input is not UTF-8 text."_s);
    return text;
}

int finish(Invocation& in, QIODevice& input) {
    // Your Words and style decide the text; without them it would be wrong.
    if (auto status = refuseUnreadable(in))
        return *status;
    AppDataStore& store = in.app.store();
    FinishingContext context;
    context.style = store.dictationStyle();
    context.language = store.dictationLanguage();
    context.replyAssist = store.replyAssist() || in.flag(u"reply-assist"_s);
    context.dictionary = store.dictionaryEntries();
    // Piped text comes with no recording, so nothing says speech was heard:
    // it is judged as a transcript of silence would be.
    int status = 0;
    if (!enumOption(in, u"style"_s, u"a style"_s, context.style, &status) ||
        !enumOption(in, u"language"_s, u"a language code"_s, context.language, &status))
        return status;

    const auto read = readText(input);
    if (!read)
        return in.failure(read.error());
    const QString& raw = *read;
    const auto finished = in.app.finishing().finish(raw, context);
    if (!finished)
        return in.failure(finished.error().message());
    if (in.flag(u"json"_s)) {
        const Json result{
            {"transcript", finished->transcript},
            {"rawTranscript", raw.trimmed()},
            {"triggerTranscript", finished->triggerTranscript},
            {"reliable", finished->reliable},
            {"formattingFallback", finished->formattingFallback},
            {"style", rawValue(context.style).toString()},
            {"language", rawValue(context.language).toString()},
        };
        in.out << QString::fromUtf8(jsonBytes(result, 2)) << Qt::endl;
        return int(finished->reliable ? ExitStatus::success : ExitStatus::failure);
    }
    if (!finished->reliable)
        return in.failure(u"No clear speech was detected."_s);
    in.out << finished->transcript << Qt::endl;
    return int(ExitStatus::success);
}

} // namespace

int runFinishCommand(AppContext& app, const QStringList& arguments, QIODevice& input,
                     QTextStream& out, QTextStream& err) {
    Invocation invocation(app, u"finish"_s, arguments, out, err);
    if (!invocation.parse(finishHelp, 0, {u"reply-assist"_s, u"json"_s},
                          {u"style"_s, u"language"_s}))
        return int(ExitStatus::usage);
    if (invocation.helpRequested())
        return invocation.printHelp(finishHelp);
    return finish(invocation, input);
}

int runFinishCommand(AppContext& app, const QStringList& arguments, QTextStream& out,
                     QTextStream& err) {
    QFile standardInput;
    if (!standardInput.open(stdin, QIODevice::ReadOnly)) {
        err << u"Standard input could not be read."_s << Qt::endl;
        return int(ExitStatus::failure);
    }
    return runFinishCommand(app, arguments, standardInput, out, err);
}

} // namespace quendra
