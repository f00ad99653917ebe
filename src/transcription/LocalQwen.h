#pragma once

#include "LocalEngine.h"
#include "QwenInstaller.h"

namespace quendra {

// The on-device Qwen3-ASR model: its worker is the virtual environment's
// Python running "qwen-worker.py" on the model folder, offline.
class LocalQwen {
public:
    static inline const QString queueLabel = QStringLiteral("quendra.qwen.worker");

    static WorkerCommand command(const QwenInstaller& installer, const QString& workerScript);
    // "qwen-worker.py" in ProgramFolders::resources().
    static QString defaultWorkerScript();
    static LocalEngineSentences sentences();
    // "Install Qwen in Settings, then retry." until the model is installed.
    static LocalEngine::Availability availability(QwenInstaller installer);
};

// The basic English engine: our PocketSphinx worker program, installed
// beside parlevo, with the system's US-English model.
class OfflineSpeech {
public:
    static inline const QString workerName = QStringLiteral("parlevo-sphinx-worker");
    static inline const QString modelDirectory =
        QStringLiteral("/usr/share/pocketsphinx/model/en-us");

    static WorkerCommand command(const QString& workerProgram);
    // The worker beside the running program.
    static QString installedWorker();
    static LocalEngineSentences sentences();
    // English only; "automatic" is taken as English.
    static LocalEngine::Availability availability();
};

} // namespace quendra
