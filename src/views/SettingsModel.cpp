#include "SettingsModel.h"

#include "model/AppDataStore.h"
#include "platform/DesktopServices.h"
#include "platform/LoginItem.h"

#include <QVariantMap>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

QString raw(auto value) {
    return rawValue(value).toString();
}

QVariantMap choice(const QVariant& value, const QString& title, const QString& detail = {}) {
    return {{u"value"_s, value}, {u"title"_s, title}, {u"detail"_s, detail}};
}

} // namespace

SettingsModel::SettingsModel(AppDataStore& store, LoginItem& loginItem,
                             std::function<DictationModel()> currentModel, QObject* parent)
    : QObject(parent)
    , store(store)
    , loginItem(loginItem)
    , currentModel(std::move(currentModel)) {}

QVariantList SettingsModel::styles() const {
    QVariantList list;
    for (auto s : allCases<DictationStyle>())
        list << choice(raw(s), title(s), example(s));
    return list;
}

QVariantList SettingsModel::languages() const {
    QVariantList list;
    for (auto l : allCases<DictationLanguage>())
        list << choice(raw(l), title(l));
    return list;
}

QVariantList SettingsModel::models() const {
    QVariantList list;
    for (auto m : allCases<DictationModel>())
        list << choice(raw(m), title(m));
    return list;
}

QVariantList SettingsModel::durations() const {
    QVariantList list;
    for (auto d : allCases<RecordingDuration>())
        list << choice(rawValue(d), title(d));
    return list;
}

QVariantList SettingsModel::surfaces() const {
    QVariantList list;
    for (auto s : allCases<WritingSurface>())
        list << choice(raw(s), title(s));
    return list;
}

template <typename Result>
void SettingsModel::report(const Result& result) {
    messageText = result ? QString() : result.error().message;
    Q_EMIT messageChanged();
    Q_EMIT changed();
}

QString SettingsModel::style() const {
    return raw(store.dictationStyle());
}

void SettingsModel::setStyle(const QString& value) {
    QUENDRA_CHECK_THREAD(checker);
    if (const auto s = fromRawValue<DictationStyle>(value); s && *s != store.dictationStyle())
        report(store.setDictationStyle(*s));
}

QString SettingsModel::language() const {
    return raw(store.dictationLanguage());
}

void SettingsModel::setLanguage(const QString& value) {
    QUENDRA_CHECK_THREAD(checker);
    if (const auto l = fromRawValue<DictationLanguage>(value); l && *l != store.dictationLanguage())
        report(store.setDictationLanguage(*l));
}

QString SettingsModel::model() const {
    return raw(currentModel());
}

void SettingsModel::setModel(const QString& value) {
    QUENDRA_CHECK_THREAD(checker);
    // Written even when it is the model in use anyway: a choice the user made
    // stays when signing in or out would change the default.
    if (const auto m = fromRawValue<DictationModel>(value))
        report(store.setDictationModel(*m));
}

bool SettingsModel::allowFallback() const {
    return store.allowModelFallback();
}

void SettingsModel::setAllowFallback(bool on) {
    QUENDRA_CHECK_THREAD(checker);
    if (on != allowFallback())
        report(store.setAllowModelFallback(on));
}

int SettingsModel::recordingMinutes() const {
    return rawValue(store.recordingDuration());
}

void SettingsModel::setRecordingMinutes(int minutes) {
    QUENDRA_CHECK_THREAD(checker);
    if (const auto d = fromRawValue<RecordingDuration>(minutes);
        d && *d != store.recordingDuration())
        report(store.setRecordingDuration(*d));
}

bool SettingsModel::contextAssist() const {
    return store.conversationContextAssist();
}

void SettingsModel::setContextAssist(bool on) {
    QUENDRA_CHECK_THREAD(checker);
    if (on != contextAssist())
        report(store.setConversationContextAssist(on));
}

bool SettingsModel::replyAssist() const {
    return store.replyAssist();
}

void SettingsModel::setReplyAssist(bool on) {
    QUENDRA_CHECK_THREAD(checker);
    if (on != replyAssist())
        report(store.setReplyAssist(on));
}

bool SettingsModel::launchAtLogin() const {
    return loginItem.enabled();
}

void SettingsModel::setLaunchAtLogin(bool on) {
    QUENDRA_CHECK_THREAD(checker);
    if (on == launchAtLogin())
        return;
    if (auto done = loginItem.setEnabled(on); !done) {
        messageText = done.error();
        Q_EMIT messageChanged();
        Q_EMIT changed();
        return;
    }
    report(store.setConfiguredLaunchAtLogin(true));
}

QString SettingsModel::surfaceStyle(const QString& surface) const {
    const auto s = fromRawValue<WritingSurface>(surface);
    if (!s)
        return {};
    const auto styles = store.surfaceStyles();
    return styles.contains(*s) ? raw(styles.value(*s)) : QString();
}

void SettingsModel::setSurfaceStyle(const QString& surface, const QString& style) {
    QUENDRA_CHECK_THREAD(checker);
    const auto s = fromRawValue<WritingSurface>(surface);
    if (!s || style == surfaceStyle(surface))
        return;
    report(store.setStyle(fromRawValue<DictationStyle>(style), *s));
}

void SettingsModel::enableAccessibility() {
    QUENDRA_CHECK_THREAD(checker);
    messageText = DesktopServices::enableAccessibility()
                      ? u"Accessibility is turned on. Log out and back in for it to take effect."_s
                      : u"The desktop's accessibility setting could not be changed. Run “parlevo "
                        "doctor --enable-accessibility” in a terminal."_s;
    Q_EMIT messageChanged();
}

void SettingsModel::refresh() {
    Q_EMIT changed();
}

} // namespace quendra
