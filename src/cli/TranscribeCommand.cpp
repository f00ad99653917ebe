#include "CommandSupport.h"
#include "Interruption.h"

#include "model/AppDataStore.h"
#include "transcription/PartCache.h"
#include "transcription/TranscriptionService.h"

#include <QFile>
#include <QFileInfo>

// "parlevo transcribe": the whole transcription service on one file, with the
// user's Words, snippets and settings; options override the settings.

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

const CommandHelp transcribeHelp{
    u"transcribe FILE [--model RAW] [--style RAW] [--language CODE] [--json]"_s,
    u"Transcribes a recording (WAV, or any audio file) and prints the finished text.\n"
    "--model is one of parlevo, qwen3-asr-1.7b, whisper-large-v3, whisper-large-v3-turbo,\n"
    "pocketsphinx-en-us; --style one of exact, clean, polished, excited, casual, prompt;\n"
    "--language a code such as en or auto (all default to your settings). --json prints\n"
    "the whole result with its raw text and timed segments. Long recordings are sent in\n"
    "parts; their progress is shown on standard error."_s};

int transcribe(Invocation& in) {
    const QString file = in.positionals()[0];
    const QFileInfo info(file);
    if (!info.exists())
        return in.failure(u"There is no file at %1."_s.arg(file));
    if (info.isDir())
        return in.failure(u"%1 is a folder; name a recording file."_s.arg(file));
    // A pipe or a device has no end to cut parts up to.
    if (!info.isFile())
        return in.failure(u"%1 is not a saved file; name a recording file."_s.arg(file));

    // Your Words and style decide the text; without them it would be wrong.
    if (auto status = refuseUnreadable(in))
        return *status;
    AppDataStore& store = in.app.store();
    TranscriptionRequest request;
    request.fileURL = info.absoluteFilePath();
    request.style = store.dictationStyle();
    request.language = store.dictationLanguage();
    request.model = store.dictationModel(in.app.savedSignIn());
    request.allowFallback = store.allowModelFallback();
    request.dictionary = store.dictionaryEntries();
    request.replyAssist = store.replyAssist();
    int status = 0;
    if (!enumOption(in, u"style"_s, u"a style"_s, request.style, &status) ||
        !enumOption(in, u"language"_s, u"a language code"_s, request.language, &status) ||
        !enumOption(in, u"model"_s, u"a model"_s, request.model, &status))
        return status;
    // A model named on the command line is the one wanted, not a suggestion.
    if (!in.values(u"model"_s).isEmpty())
        request.allowFallback = false;
    request.onProgress = partProgress(in);

    // Ctrl+C, SIGTERM and a closed terminal cancel the transcription instead
    // of ending the process, so that its parts are removed on the way out.
    Interruption interruption;
    interruption.onInterrupt = [cancel = request.cancel] { cancel->cancel(); };
    auto result = QCoro::waitFor(in.app.transcription().transcribe(request));
    // A file named here is not a kept recording: its part cache only serves a
    // retry after a failure, and is not left beside the user's file.
    if (result || interruption.requested())
        QFile::remove(PartCache::pathFor(request.fileURL));
    if (interruption.requested()) {
        in.err << u"The transcription was interrupted."_s << Qt::endl;
        return interruption.exitStatus();
    }
    if (!result)
        return in.failure(result.error().message());
    result->transcript = store.expandSnippet(result->transcript);
    if (result->fallbackUsed)
        in.err << u"parlevo: %1 was used instead.\n"_s.arg(title(result->model)) << Qt::flush;
    if (in.flag(u"json"_s)) {
        in.out << QString::fromUtf8(jsonBytes(Json(*result), 2)) << Qt::endl;
        return int(ExitStatus::success);
    }
    if (result->transcript.isEmpty())
        return in.failure(u"No clear speech was detected."_s);
    in.out << result->transcript << Qt::endl;
    return int(ExitStatus::success);
}

} // namespace

int runTranscribeCommand(AppContext& app, const QStringList& arguments, QTextStream& out,
                         QTextStream& err) {
    Invocation invocation(app, u"transcribe"_s, arguments, out, err);
    if (!invocation.parse(transcribeHelp, 1, {u"json"_s}, {u"model"_s, u"style"_s, u"language"_s}))
        return int(ExitStatus::usage);
    if (invocation.helpRequested())
        return invocation.printHelp(transcribeHelp);
    return transcribe(invocation);
}

} // namespace quendra
