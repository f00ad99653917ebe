#include "FakeDesktop.h"

using namespace Qt::Literals::StringLiterals;

namespace quendra {

RunningApplication& FakeWorkspace::launch(qint64 processId, const QString& identifier) {
    applications.append({processId, identifier, identifier});
    return applications.last();
}

void FakeWorkspace::bringToFront(qint64 processId, bool announce) {
    frontmost = processId;
    if (announce)
        if (const auto app = frontmostApplication())
            Q_EMIT applicationActivated(*app);
}

void FakeWorkspace::quit(qint64 processId) {
    terminated.insert(processId);
    applications.removeIf([&](const auto& app) { return app.processId == processId; });
    if (frontmost == processId)
        frontmost.reset();
    Q_EMIT applicationTerminated(processId);
}

std::optional<RunningApplication> FakeWorkspace::frontmostApplication() {
    if (!frontmost)
        return std::nullopt;
    if (*frontmost == ownPid)
        return RunningApplication{ownPid, u"parlevo"_s, u"Parlevo"_s};
    for (const auto& app : applications)
        if (app.processId == *frontmost)
            return app;
    return std::nullopt;
}

bool FakeWorkspace::activate(qint64 processId) {
    activations.append(processId);
    if (activationWorks && !terminated.contains(processId))
        frontmost = processId;
    if (onActivate)
        onActivate(processId);
    return activationWorks;
}

void FakePasteboard::copyFromElsewhere(const PasteboardItem& item) {
    contents = {item};
    ++count;
}

QString FakePasteboard::string() const {
    for (const auto& item : contents)
        for (const auto& [type, data] : item)
            if (type == u"text/plain"_s)
                return QString::fromUtf8(data);
    return {};
}

void FakePasteboard::clearContents() {
    contents.clear();
    ++count;
}

void FakePasteboard::setString(const QString& text) {
    contents = {{{u"text/plain"_s, text.toUtf8()}}};
    ++count;
}

void FakePasteboard::writeItems(const QList<PasteboardItem>& items) {
    contents = items;
    ++count;
}

bool FakeKeyEventPoster::postPaste(PasteKeys keys) {
    if (!available || starting)
        return false;
    posted.append(keys);
    if (onPaste)
        onPaste(keys);
    return true;
}

void FakeHotKeyService::press(const DictationShortcut& shortcut) {
    for (auto it = registered.cbegin(); it != registered.cend(); ++it)
        if (it.value() == keysOf(shortcut))
            Q_EMIT pressed(it.key());
}

std::expected<void, HotKeyServiceError>
FakeHotKeyService::registerHotKey(std::uint32_t identifier, std::uint32_t keysym,
                                  ShortcutModifiers modifiers) {
    ++registerCalls;
    const Combination wanted{keysym, modifiers};
    if (takenElsewhere.contains(wanted) || registered.values().contains(wanted))
        return std::unexpected(HotKeyServiceError::unavailable);
    registered.insert(identifier, wanted);
    return {};
}

void FakeHotKeyService::unregisterHotKey(std::uint32_t identifier) {
    ++unregisterCalls;
    registered.remove(identifier);
}

} // namespace quendra
