#include "DictationIntelligence.h"
#include "ProgramFolders.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QJSEngine>
#include <QJSValueIterator>
#include <QThread>

#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

struct DictationIntelligence::Engine {
    QJSEngine js;
};

namespace {

using Failure = TranscriptionServiceError;

// Deeper values than this are cut: the scripts exchange flat records, and a
// cycle in a script's answer must not recurse forever.
constexpr int maximumDepth = 32;

QJSValue toScript(QJSEngine& js, const Json& j) {
    switch (j.type()) {
    case Json::value_t::boolean:
        return QJSValue(j.get<bool>());
    case Json::value_t::number_integer:
        return QJSValue(double(j.get<qint64>()));
    case Json::value_t::number_unsigned:
        return QJSValue(double(j.get<quint64>()));
    case Json::value_t::number_float:
        return QJSValue(j.get<double>());
    case Json::value_t::string:
        return QJSValue(QString::fromStdString(j.get<std::string>()));
    case Json::value_t::array: {
        QJSValue array = js.newArray(uint(j.size()));
        for (size_t i = 0; i < j.size(); ++i)
            array.setProperty(quint32(i), toScript(js, j[i]));
        return array;
    }
    case Json::value_t::object: {
        QJSValue object = js.newObject();
        for (const auto& [key, value] : j.items())
            object.setProperty(QString::fromStdString(key), toScript(js, value));
        return object;
    }
    default:
        return QJSValue(QJSValue::NullValue);
    }
}

Json fromScript(const QJSValue& v, int depth = 0) {
    if (v.isBool())
        return v.toBool();
    if (v.isNumber()) {
        const double d = v.toNumber();
        if (std::isfinite(d) && d == std::trunc(d) && std::abs(d) < 9.0e15)
            return qint64(d);
        return std::isfinite(d) ? Json(d) : Json();
    }
    if (v.isString())
        return v.toString();
    if (depth >= maximumDepth || v.isCallable())
        return {};
    if (v.isArray()) {
        Json array = Json::array();
        const int length = v.property(u"length"_s).toInt();
        for (int i = 0; i < length; ++i)
            array.push_back(fromScript(v.property(quint32(i)), depth + 1));
        return array;
    }
    if (v.isObject()) {
        Json object = Json::object();
        for (QJSValueIterator it(v); it.hasNext();) {
            it.next();
            object[it.name().toStdString()] = fromScript(it.value(), depth + 1);
        }
        return object;
    }
    return {};
}

QString describe(const QJSValue& error) {
    const int line = error.property(u"lineNumber"_s).toInt();
    return line > 0 ? u"line %1: %2"_s.arg(line).arg(error.toString()) : error.toString();
}

std::expected<void, Failure> load(QJSEngine& js, const QString& directory, const QString& name) {
    const QString path = QDir(directory).filePath(name);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::unexpected(Failure::bridgeUnavailable(
            u"The text-finishing script “%1” is missing from %2. Reinstall Parlevo."_s.arg(
                name, QDir::toNativeSeparators(directory))));
    const QJSValue result = js.evaluate(QString::fromUtf8(file.readAll()), path);
    if (result.isError())
        return std::unexpected(Failure::bridgeUnavailable(
            u"The text-finishing script “%1” could not be loaded (%2). Reinstall Parlevo."_s.arg(
                name, describe(result))));
    return {};
}

std::expected<QJSValue, Failure> invoke(QJSEngine& js, const QString& function,
                                        const QJSValueList& arguments) {
    const QJSValue callee = js.globalObject().property(function);
    if (!callee.isCallable())
        return std::unexpected(Failure::bridgeUnavailable(
            u"The text-finishing scripts have no function “%1”. Reinstall Parlevo."_s.arg(
                function)));
    const QJSValue result = callee.call(arguments);
    if (result.isError())
        return std::unexpected(Failure::bridgeUnavailable(
            u"Text finishing failed in “%1” (%2)."_s.arg(function, describe(result))));
    return result;
}

std::expected<QString, Failure> invokeText(QJSEngine& js, const QString& function,
                                           const QJSValueList& arguments) {
    auto result = invoke(js, function, arguments);
    if (!result)
        return std::unexpected(result.error());
    if (!result->isString())
        return std::unexpected(Failure::bridgeUnavailable(
            u"Text finishing failed in “%1” (it returned no text)."_s.arg(function)));
    return result->toString();
}

Json dictionaryJson(const QList<PersonalDictionaryEntry>& entries) {
    Json list = Json::array();
    for (const auto& e : entries)
        list.push_back({{"spelling", e.spelling}, {"spokenForms", e.spokenForms}});
    return list;
}

// The part of the field's context near the cursor.
constexpr qsizetype longestContext = DictationIntelligence::longestText / 4;

std::expected<void, Failure> checkLength(std::initializer_list<QStringView> texts) {
    for (const QStringView text : texts)
        if (text.size() > DictationIntelligence::longestText)
            return std::unexpected(Failure{Failure::Kind::textTooLong, {}});
    return {};
}

Json optionsJson(const FinishingContext& context) {
    return {
        {"cleanupMode", apiValue(context.style)},
        {"language", rawValue(context.language).toString()},
        {"dictionary", dictionaryJson(context.dictionary)},
        {"surface", WritingDestinations::surfaceName(context.surface)},
        {"contextBefore", context.contextBefore.right(longestContext)},
        {"contextAfter", context.contextAfter.left(longestContext)},
        {"conversationContext", context.conversationContext.right(longestContext)},
        {"replyAssist", context.replyAssist},
        {"speechHeard", context.speechHeard},
    };
}

bool wantsLanguageModel(DictationStyle style) {
    return style == DictationStyle::polished || style == DictationStyle::excited ||
           style == DictationStyle::prompt;
}

} // namespace

DictationIntelligence::DictationIntelligence(QString resourceDirectory)
    : directory(std::move(resourceDirectory)) {}

DictationIntelligence::~DictationIntelligence() = default;

QString DictationIntelligence::defaultResourceDirectory() {
    return ProgramFolders::resources();
}

std::expected<DictationIntelligence::Engine*, TranscriptionServiceError>
DictationIntelligence::engine() {
    if (built) {
        Q_ASSERT(built->js.thread() == QThread::currentThread());
        return built.get();
    }
    if (!QCoreApplication::instance())
        return std::unexpected(
            Failure::bridgeUnavailable(u"Text finishing needs the application to be running."_s));
    // A failed build is not kept: a later call finds scripts put back meanwhile.
    auto fresh = std::make_unique<Engine>();
    const QString folder = directory.isEmpty() ? defaultResourceDirectory() : directory;
    for (const QString& name : {intelligenceScript, promptsScript})
        if (auto loaded = load(fresh->js, folder, name); !loaded)
            return std::unexpected(loaded.error());
    built = std::move(fresh);
    return built.get();
}

std::expected<Json, TranscriptionServiceError> DictationIntelligence::call(const QString& function,
                                                                           const Json& arguments) {
    auto e = engine();
    if (!e)
        return std::unexpected(e.error());
    QJSValueList list;
    if (arguments.is_array())
        for (const Json& a : arguments)
            list << toScript((*e)->js, a);
    else if (!arguments.is_null())
        list << toScript((*e)->js, arguments);
    auto result = invoke((*e)->js, function, list);
    if (!result)
        return std::unexpected(result.error());
    return fromScript(*result);
}

std::expected<FinishedText, TranscriptionServiceError>
DictationIntelligence::finish(const QString& rawTranscript, const FinishingContext& context,
                              bool modelFormatted) {
    if (auto fits = checkLength({rawTranscript}); !fits)
        return std::unexpected(fits.error());
    auto e = engine();
    if (!e)
        return std::unexpected(e.error());
    QJSEngine& js = (*e)->js;
    Json options = optionsJson(context);
    QJSValue scriptOptions = toScript(js, options);

    auto prepared =
        invokeText(js, u"prepareSpokenText"_s, {QJSValue(rawTranscript), scriptOptions});
    if (!prepared)
        return std::unexpected(prepared.error());
    auto reliable =
        invoke(js, u"reliableDictationTranscript"_s, {QJSValue(*prepared), scriptOptions});
    if (!reliable)
        return std::unexpected(reliable.error());
    if (!reliable->toBool())
        return FinishedText{{}, {}, false, false};

    // Words go in before and after the disfluency pass: before, so that a
    // spoken form with a doubled word ("c plus plus") is not taken for a
    // stutter; after, so that one split by a filler ("cube um and eighties")
    // is found once the filler is gone.
    const QJSValue dictionary = scriptOptions.property(u"dictionary"_s);
    auto early = invokeText(js, u"applyPreferredSpellings"_s, {QJSValue(*prepared), dictionary});
    if (!early)
        return std::unexpected(early.error());
    auto cleaned = invokeText(js, u"cleanSpeechDisfluencies"_s, {QJSValue(*early), scriptOptions});
    if (!cleaned)
        return std::unexpected(cleaned.error());
    auto spelled = invokeText(js, u"applyPreferredSpellings"_s, {QJSValue(*cleaned), dictionary});
    if (!spelled)
        return std::unexpected(spelled.error());
    auto named =
        invokeText(js, u"applyContextNameSpellings"_s, {QJSValue(*spelled), scriptOptions});
    if (!named)
        return std::unexpected(named.error());
    auto replyIntent = invoke(js, u"isExplicitReplyIntent"_s, {QJSValue(*named), scriptOptions});
    if (!replyIntent)
        return std::unexpected(replyIntent.error());
    scriptOptions.setProperty(u"replyIntent"_s, replyIntent->toBool());
    scriptOptions.setProperty(u"modelFormatted"_s, modelFormatted);
    auto styled = invokeText(js, u"finishDictationText"_s, {QJSValue(*named), scriptOptions});
    if (!styled)
        return std::unexpected(styled.error());
    // Names go by capitals, and a sentence start has just been given one
    // ("sara, …" → "Sara, …" → "Sarah, …").
    auto finished =
        invokeText(js, u"applyContextNameSpellings"_s, {QJSValue(*styled), scriptOptions});
    if (!finished)
        return std::unexpected(finished.error());

    FinishedText result;
    result.transcript = *finished;
    result.triggerTranscript = *named;
    result.reliable = !finished->trimmed().isEmpty();
    result.formattingFallback =
        result.reliable && !modelFormatted && wantsLanguageModel(context.style);
    return result;
}

std::expected<Json, TranscriptionServiceError>
DictationIntelligence::buildCleanupMessages(const QString& rawTranscript,
                                            const FinishingContext& context) {
    if (auto fits = checkLength({rawTranscript}); !fits)
        return std::unexpected(fits.error());
    auto messages =
        call(u"buildCleanupMessages"_s, Json::array({rawTranscript, optionsJson(context)}));
    if (messages && !messages->is_array())
        return std::unexpected(Failure::bridgeUnavailable(
            u"Text finishing failed in buildCleanupMessages (it returned no messages)."_s));
    return messages;
}

std::expected<bool, TranscriptionServiceError>
DictationIntelligence::cleanupIsSafeForMode(const QString& rawTranscript, const QString& candidate,
                                            DictationStyle style) {
    if (auto fits = checkLength({rawTranscript, candidate}); !fits)
        return std::unexpected(fits.error());
    auto safe =
        call(u"cleanupIsSafeForMode"_s, Json::array({rawTranscript, candidate, apiValue(style)}));
    if (!safe)
        return std::unexpected(safe.error());
    return safe->is_boolean() && safe->get<bool>();
}

std::expected<QString, TranscriptionServiceError>
DictationIntelligence::mergeCleanCandidate(const QString& rawTranscript, const QString& candidate,
                                           DictationStyle style) {
    if (auto fits = checkLength({rawTranscript, candidate}); !fits)
        return std::unexpected(fits.error());
    auto merged =
        call(u"mergeCleanCandidate"_s, Json::array({rawTranscript, candidate, apiValue(style)}));
    if (!merged)
        return std::unexpected(merged.error());
    if (!merged->is_string())
        return std::unexpected(Failure::bridgeUnavailable(
            u"Text finishing failed in mergeCleanCandidate (it returned no text)."_s));
    return QString::fromStdString(merged->get<std::string>());
}

} // namespace quendra
