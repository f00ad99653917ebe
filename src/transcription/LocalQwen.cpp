#include "transcription/LocalQwen.h"
#include "transcription/ProgramFolders.h"

#include <QDir>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

WorkerCommand LocalQwen::command(const QwenInstaller& installer, const QString& workerScript) {
    // Unbuffered, so each reply line arrives as it is written; offline, so
    // the model is never fetched while dictating.
    return WorkerCommand{installer.interpreter(),
                         {workerScript, u"--model"_s, installer.modelDirectory()},
                         {{u"PYTHONUNBUFFERED"_s, u"1"_s}, {u"HF_HUB_OFFLINE"_s, u"1"_s}},
                         {}};
}

QString LocalQwen::defaultWorkerScript() {
    return QDir(ProgramFolders::resources()).filePath(u"qwen-worker.py"_s);
}

LocalEngineSentences LocalQwen::sentences() {
    return {u"Qwen could not finish that recording. Check the selected language and retry."_s,
            u"Qwen stopped before finishing. Retry your saved recording."_s};
}

LocalEngine::Availability LocalQwen::availability(QwenInstaller installer) {
    return [installer](DictationLanguage) -> std::optional<TranscriptionServiceError> {
        if (installer.installed())
            return std::nullopt;
        return TranscriptionServiceError::engine(u"Install Qwen in Settings, then retry."_s);
    };
}

WorkerCommand OfflineSpeech::command(const QString& workerProgram) {
    return WorkerCommand{workerProgram, {u"--model"_s, modelDirectory}, {}, {}};
}

QString OfflineSpeech::installedWorker() {
    return ProgramFolders::helper(workerName);
}

LocalEngineSentences OfflineSpeech::sentences() {
    return {u"The offline engine could not finish that recording. Retry your saved recording."_s,
            u"The offline engine stopped before finishing. Retry your saved recording."_s};
}

LocalEngine::Availability OfflineSpeech::availability() {
    return [](DictationLanguage language) -> std::optional<TranscriptionServiceError> {
        if (language == DictationLanguage::english || language == DictationLanguage::automatic)
            return std::nullopt;
        return TranscriptionServiceError::engine(
            u"The offline engine understands English only. Choose English as your language, "
            "or another model."_s);
    };
}

} // namespace quendra
