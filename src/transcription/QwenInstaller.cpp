#include "transcription/QwenInstaller.h"

#include <QCoro/QCoroProcess>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

QwenInstaller::QwenInstaller(QString root)
    : root(std::move(root)) {}

QString QwenInstaller::interpreter() const {
    return QDir(root).filePath(u"qwen-venv/bin/python"_s);
}

QString QwenInstaller::modelDirectory() const {
    return QDir(root).filePath(u"models/Qwen3-ASR-1.7B-bf16"_s);
}

QString QwenInstaller::incompleteMarker() const {
    return QDir(root).filePath(u"qwen-install.incomplete"_s);
}

bool QwenInstaller::installed() const {
    const QFileInfo python(interpreter());
    return python.isFile() && python.isExecutable() &&
           QFileInfo(QDir(modelDirectory()).filePath(u"model.safetensors"_s)).isFile() &&
           !QFileInfo::exists(incompleteMarker());
}

QList<QwenInstaller::Step> QwenInstaller::steps(const QString& systemPython) const {
    const QString venv = QDir(root).filePath(u"qwen-venv"_s);
    const QString python = interpreter();
    // The weights are published in shards; the worker and the installed
    // check expect one "model.safetensors", so the shards are merged.
    const QString fetch =
        u"import json, os, sys\n"
        "from huggingface_hub import snapshot_download\n"
        "target = sys.argv[1]\n"
        "snapshot_download(repo_id='Qwen/Qwen3-ASR-1.7B', local_dir=target)\n"
        "single = os.path.join(target, 'model.safetensors')\n"
        "index = os.path.join(target, 'model.safetensors.index.json')\n"
        "if not os.path.exists(single) and os.path.exists(index):\n"
        "    from safetensors.torch import load_file, save_file\n"
        "    shards = sorted(set(json.load(open(index))['weight_map'].values()))\n"
        "    tensors = {}\n"
        "    for shard in shards:\n"
        "        tensors.update(load_file(os.path.join(target, shard)))\n"
        "    save_file(tensors, single + '.partial', metadata={'format': 'pt'})\n"
        "    os.replace(single + '.partial', single)\n"
        "    for shard in shards:\n"
        "        os.remove(os.path.join(target, shard))\n"
        "    os.remove(index)\n"_s;
    return {
        {u"Creating the Python environment"_s, systemPython, {u"-m"_s, u"venv"_s, venv}},
        {u"Updating the package installer"_s,
         python,
         {u"-m"_s, u"pip"_s, u"install"_s, u"--upgrade"_s, u"pip"_s}},
        {u"Installing the speech model’s packages"_s,
         python,
         {u"-m"_s, u"pip"_s, u"install"_s, u"--upgrade"_s, u"qwen-asr"_s, u"torch"_s,
          u"huggingface_hub"_s, u"safetensors"_s, u"soundfile"_s}},
        {u"Downloading Qwen3-ASR-1.7B"_s, python, {u"-c"_s, fetch, modelDirectory()}},
    };
}

QCoro::Task<std::expected<void, QString>>
QwenInstaller::install(QList<Step> steps, std::function<void(Progress)> onProgress,
                       Cancellation cancel) {
    const QString cancelled = u"The installation was cancelled."_s;
    if (!QDir().mkpath(root) || !QDir().mkpath(QFileInfo(modelDirectory()).path()))
        co_return std::unexpected(u"Could not create %1."_s.arg(root));
    {
        QFile marker(incompleteMarker());
        if (!marker.open(QIODevice::WriteOnly))
            co_return std::unexpected(u"Could not write %1."_s.arg(incompleteMarker()));
    }
    const int count = int(steps.size());
    for (int i = 0; i < count; ++i) {
        const Step& step = steps[i];
        if (cancel && cancel->isCancelled())
            co_return std::unexpected(cancelled);
        if (onProgress)
            onProgress({i + 1, count, step.title});
        const QFileInfo program(step.program);
        if (QStandardPaths::findExecutable(step.program).isEmpty() &&
            !(program.isAbsolute() && program.isExecutable()))
            co_return std::unexpected(u"%1 failed: %2 is missing."_s.arg(step.title, step.program));
        QProcess process;
        // pip and the download talk a lot; a full pipe would stall them.
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.setStandardOutputFile(QDir(root).filePath(u"qwen-install.log"_s),
                                      QIODevice::Append);
        auto running = qCoro(process);
        const bool started = co_await running.start(step.program, step.arguments);
        const int stopper = cancel ? cancel->onCancel([&process] { process.kill(); }) : -1;
        // Downloads of several gigabytes take long: no time limit.
        const bool finished = started && co_await running.waitForFinished(-1);
        if (cancel) {
            cancel->forget(stopper);
            if (cancel->isCancelled())
                co_return std::unexpected(cancelled);
        }
        if (!finished || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
            co_return std::unexpected(
                u"%1 failed. Check your connection and retry."_s.arg(step.title));
    }
    QFile::remove(incompleteMarker());
    co_return {};
}

} // namespace quendra
