#include "Note.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <stdexcept>

namespace quendra {

using namespace Qt::Literals::StringLiterals;

namespace {

// Dates outside what any calendar view can show are treated as malformed.
constexpr qint64 maxDateMs = 8'640'000'000'000'000;
constexpr qsizetype previewLength = 160;

// A list field whose broken elements are dropped one by one, so one damaged
// turn or word never costs the rest of the transcript. None when the field is
// missing or not an array.
template <typename T>
std::optional<QList<T>> lenientList(const Json& object, std::string_view key) {
    auto it = object.find(key);
    if (it == object.end() || !it->is_array())
        return std::nullopt;
    return decodeElements<T>(*it);
}

const Json* objectField(const Json& object, std::string_view key) {
    auto it = object.find(key);
    return it != object.end() && it->is_object() ? &*it : nullptr;
}

QString keyText(const std::string& key) {
    return QString::fromStdString(key);
}

QStringList stringList(const Json& object, std::string_view key) {
    QStringList result;
    auto it = object.find(key);
    if (it == object.end() || !it->is_array())
        return result;
    for (const Json& element : *it)
        if (element.is_string())
            result.append(QString::fromStdString(element.get<std::string>()));
    return result;
}

void collectStrings(const Json& j, QStringList& out) {
    if (j.is_string())
        out.append(QString::fromStdString(j.get<std::string>()));
    else if (j.is_structured())
        for (const Json& element : j)
            collectStrings(element, out);
}

// Case- and accent-blind form: compatibility decomposition, marks dropped,
// then case folding ("Café" and "CAFE" both become "cafe").
QString searchForm(const QString& text) {
    const QString decomposed = text.normalized(QString::NormalizationForm_KD);
    QString stripped;
    stripped.reserve(decomposed.size());
    for (QChar c : decomposed)
        if (!c.isMark())
            stripped.append(c);
    return stripped.toCaseFolded();
}

struct AppName {
    QStringView id;
    QStringView name;
};

// Identifiers as reported on macOS (bundle ids) and on Linux (desktop ids and
// window classes), compared without case.
constexpr AppName knownApps[] = {
    {u"us.zoom.xos", u"Zoom"},
    {u"us.zoom.zoom", u"Zoom"},
    {u"zoom", u"Zoom"},
    {u"com.microsoft.teams", u"Microsoft Teams"},
    {u"com.microsoft.teams2", u"Microsoft Teams"},
    {u"teams-for-linux", u"Microsoft Teams"},
    {u"com.github.ismaelmartinez.teams_for_linux", u"Microsoft Teams"},
    {u"com.tinyspeck.slackmacgap", u"Slack"},
    {u"com.slack.slack", u"Slack"},
    {u"slack", u"Slack"},
    {u"com.hnc.discord", u"Discord"},
    {u"com.discordapp.discord", u"Discord"},
    {u"discord", u"Discord"},
    {u"com.apple.facetime", u"FaceTime"},
    {u"com.cisco.webexmeetingsapp", u"Webex"},
    {u"cisco-systems.spark", u"Webex"},
    {u"webex", u"Webex"},
    {u"net.whatsapp.whatsapp", u"WhatsApp"},
    {u"com.skype.skype", u"Skype"},
    {u"com.skype.client", u"Skype"},
    {u"skype", u"Skype"},
    {u"ru.keepcoder.telegram", u"Telegram"},
    {u"org.telegram.desktop", u"Telegram"},
    {u"telegram-desktop", u"Telegram"},
    {u"org.jitsi.jitsi-meet", u"Jitsi Meet"},
};

// Web hosts match themselves and their subdomains.
constexpr AppName knownHosts[] = {
    {u"meet.google.com", u"Google Meet"},
    {u"teams.microsoft.com", u"Microsoft Teams"},
    {u"teams.live.com", u"Microsoft Teams"},
    {u"zoom.us", u"Zoom"},
    {u"app.slack.com", u"Slack"},
    {u"discord.com", u"Discord"},
    {u"webex.com", u"Webex"},
    {u"web.whatsapp.com", u"WhatsApp"},
    {u"web.skype.com", u"Skype"},
    {u"whereby.com", u"Whereby"},
    {u"meet.jit.si", u"Jitsi Meet"},
};

} // namespace

QString callAppName(const QString& sourceApp) {
    const QString id = sourceApp.trimmed();
    if (id.startsWith(u"web:"_s, Qt::CaseInsensitive)) {
        QString host = id.mid(4).trimmed().toLower();
        if (host.startsWith(u"www."_s))
            host.remove(0, 4);
        for (const auto& [known, name] : knownHosts)
            if (host == known || host.endsWith(u'.' + known.toString()))
                return name.toString();
        return host;
    }
    for (const auto& [known, name] : knownApps)
        if (known.compare(id, Qt::CaseInsensitive) == 0)
            return name.toString();
    // An unknown reverse-domain identifier is shown by its last part.
    const qsizetype dot = id.lastIndexOf(u'.');
    return dot >= 0 && dot + 1 < id.size() ? id.mid(dot + 1) : id;
}

QString Note::displayName(const QString& speaker) const {
    const QString name = speakerNames.value(speaker).trimmed();
    if (!name.isEmpty())
        return name;
    if (speaker == u"you"_s)
        return u"You"_s;
    if (speaker == u"them"_s)
        return u"Computer audio"_s;
    if (speaker == u"unclear"_s)
        return u"Speaker unclear"_s;
    return {};
}

int Note::completedSections() const {
    return static_cast<int>(
        std::ranges::count_if(sections, [](const NoteSection& s) { return s.done; }));
}

QString Note::transcriptText() const {
    QStringList texts;
    texts.reserve(turns.size());
    for (const NoteTurn& turn : turns)
        texts.append(turn.text);
    return texts.join(u"\n\n"_s);
}

QString Note::preview() const {
    QString text = transcriptText().simplified();
    if (text.isEmpty()) {
        // Before turns are assembled, the transcribed sections say what was heard.
        QStringList parts;
        for (const NoteSection& section : sections)
            parts.append(section.transcript);
        text = parts.join(u' ').simplified();
    }
    if (text.isEmpty())
        text = message.simplified();
    if (text.size() <= previewLength)
        return text;
    qsizetype cut = text.lastIndexOf(u' ', previewLength);
    if (cut < previewLength / 2)
        cut = previewLength;
    if (text.at(cut).isLowSurrogate())
        --cut;
    return text.left(cut).trimmed() + u'…';
}

QString Note::sourceDescription() const {
    if (source == NoteSource::room)
        return u"Microphone only"_s;
    const QString app = sourceApp ? callAppName(*sourceApp) : QString();
    return app.isEmpty() ? u"Call"_s : u"Call · "_s + app;
}

bool Note::matches(const QString& search) const {
    return matchesTerms(searchText(), searchTerms(search));
}

QString Note::searchText() const {
    QStringList texts{title, sourceDescription()};
    if (turns.isEmpty())
        for (const NoteSection& section : sections)
            texts.append(section.transcript);
    else
        texts.append(transcriptText());
    if (summary)
        collectStrings(*summary, texts);
    for (const NoteHighlight& highlight : highlights)
        texts.append(highlight.label);
    texts.append(speakerNames.values());
    return searchForm(texts.join(u'\n'));
}

QStringList Note::searchTerms(const QString& search) {
    return searchForm(search).split(u' ', Qt::SkipEmptyParts);
}

bool Note::matchesTerms(const QString& searchText, const QStringList& terms) {
    // Terms hold no blank, so a term can never match across two fields.
    return std::ranges::all_of(terms,
                               [&](const QString& term) { return searchText.contains(term); });
}

void to_json(Json& j, const NoteSection& s) {
    j = Json{{"index", s.index},   {"startMs", s.startMs}, {"endMs", s.endMs},
             {"closed", s.closed}, {"done", s.done},       {"transcript", s.transcript},
             {"words", s.words}};
}

void from_json(const Json& j, NoteSection& s) {
    s.index = requiredInt(j, "index");
    s.startMs = integerField(j, "startMs").value_or(0);
    s.endMs = integerField(j, "endMs").value_or(s.startMs);
    s.closed = fieldOr<bool>(j, "closed", false);
    s.done = fieldOr<bool>(j, "done", false);
    s.transcript = fieldOr<QString>(j, "transcript", {});
    s.words = lenientList<TimedWord>(j, "words").value_or(QList<TimedWord>{});
}

void to_json(Json& j, const NoteTurn& t) {
    j = Json{{"speaker", t.speaker}, {"startMs", t.startMs}, {"endMs", t.endMs}, {"text", t.text}};
}

void from_json(const Json& j, NoteTurn& t) {
    t.speaker = requiredField<QString>(j, "speaker");
    t.startMs = requiredInteger(j, "startMs");
    t.endMs = requiredInteger(j, "endMs");
    t.text = requiredField<QString>(j, "text");
}

void to_json(Json& j, const NoteHighlight& h) {
    j = Json{{"id", h.id}, {"atMs", h.atMs}, {"label", h.label}};
}

void from_json(const Json& j, NoteHighlight& h) {
    h.atMs = requiredInteger(j, "atMs");
    h.id = field<QUuid>(j, "id").value_or(QUuid::createUuid());
    h.label = fieldOr<QString>(j, "label", {});
}

void to_json(Json& j, const Note& n) {
    j = Json::object();
    j["id"] = n.id;
    j["title"] = n.title;
    j["titleEdited"] = n.titleEdited;
    j["createdAt"] = n.createdAt.toMSecsSinceEpoch();
    j["durationMs"] = n.durationMs;
    j["state"] = n.state;
    j["source"] = n.source;
    if (n.sourceApp)
        j["sourceApp"] = *n.sourceApp;
    j["message"] = n.message;
    j["language"] = n.language;
    j["limitMs"] = n.limitMs;
    j["sections"] = n.sections;
    j["turns"] = n.turns;
    if (n.summary)
        j["summary"] = *n.summary;
    Json cache = Json::object();
    for (auto it = n.summaryCache.cbegin(); it != n.summaryCache.cend(); ++it)
        cache[it.key().toStdString()] = it.value();
    j["summaryCache"] = std::move(cache);
    j["highlights"] = n.highlights;
    Json names = Json::object();
    for (auto it = n.speakerNames.cbegin(); it != n.speakerNames.cend(); ++it)
        names[it.key().toStdString()] = it.value();
    j["speakerNames"] = std::move(names);
    j["audioRemoved"] = n.audioRemoved;
    if (n.audioFile)
        j["audioFile"] = *n.audioFile;
    j["turnsFinal"] = n.turnsFinal;
    j["revision"] = n.revision;
    j["summaryRefreshRequested"] = n.summaryRefreshRequested;
    j["processingStage"] = n.processingStage;
    if (n.originalTurns)
        j["originalTurns"] = *n.originalTurns;
    j["summaryNeedsRefresh"] = n.summaryNeedsRefresh;
    j["dismissedNameSuggestions"] = n.dismissedNameSuggestions;
}

void from_json(const Json& j, Note& n) {
    n = Note{};
    n.id = requiredField<QUuid>(j, "id");
    n.title = fieldOr<QString>(j, "title", Note::defaultTitle());
    n.titleEdited = fieldOr<bool>(j, "titleEdited", false);
    if (auto ms = integerField(j, "createdAt"); ms && *ms >= -maxDateMs && *ms <= maxDateMs)
        n.createdAt = QDateTime::fromMSecsSinceEpoch(*ms, Qt::UTC);
    n.durationMs = integerField(j, "durationMs").value_or(0);
    n.state = fieldOr<NoteState>(j, "state", NoteState::interrupted);
    n.source = fieldOr<NoteSource>(j, "source", NoteSource::room);
    n.sourceApp = field<QString>(j, "sourceApp");
    n.message = fieldOr<QString>(j, "message", {});
    n.language = fieldOr<QString>(j, "language", u"auto"_s);
    n.limitMs = integerField(j, "limitMs").value_or(Note::defaultLimitMs);
    n.sections = lenientList<NoteSection>(j, "sections").value_or(QList<NoteSection>{});
    n.turns = lenientList<NoteTurn>(j, "turns").value_or(QList<NoteTurn>{});
    if (const Json* summary = objectField(j, "summary"))
        n.summary = *summary;
    if (const Json* cache = objectField(j, "summaryCache"))
        for (const auto& [key, value] : cache->items())
            if (value.is_object())
                n.summaryCache.insert(keyText(key), value);
    n.highlights = lenientList<NoteHighlight>(j, "highlights").value_or(QList<NoteHighlight>{});
    if (const Json* names = objectField(j, "speakerNames"))
        for (const auto& [key, value] : names->items())
            if (value.is_string())
                n.speakerNames.insert(keyText(key),
                                      QString::fromStdString(value.get<std::string>()));
    n.audioRemoved = fieldOr<bool>(j, "audioRemoved", false);
    n.audioFile = field<QString>(j, "audioFile");
    n.turnsFinal = fieldOr<bool>(j, "turnsFinal", false);
    n.revision = integerField(j, "revision").value_or(0);
    n.summaryRefreshRequested = fieldOr<bool>(j, "summaryRefreshRequested", false);
    n.processingStage = fieldOr<QString>(j, "processingStage", {});
    n.originalTurns = lenientList<NoteTurn>(j, "originalTurns");
    n.summaryNeedsRefresh = fieldOr<bool>(j, "summaryNeedsRefresh", false);
    n.dismissedNameSuggestions = stringList(j, "dismissedNameSuggestions");
}

namespace {

using Violation = std::optional<QString>;

QString keyName(std::string_view key) {
    return QString::fromLatin1(key.data(), static_cast<qsizetype>(key.size()));
}

// Compared as stored: a large integer read as a double could round into range.
bool within(const Json& number, qint64 lowest, qint64 highest) {
    if (number.is_number_unsigned())
        return lowest <= 0 && number.get<std::uint64_t>() <= static_cast<std::uint64_t>(highest);
    if (number.is_number_integer())
        return number.get<std::int64_t>() >= lowest && number.get<std::int64_t>() <= highest;
    return number.get<double>() >= static_cast<double>(lowest) &&
           number.get<double>() <= static_cast<double>(highest);
}

// `where` names the value's place in the record ("sections[3]."), so the
// sentence points at what is wrong.
Violation timeViolation(const Json& object, std::string_view key, const QString& where) {
    auto it = object.find(key);
    if (it == object.end() || !it->is_number() || within(*it, 0, NoteLimits::longestMs))
        return std::nullopt;
    const QString name = where + keyName(key);
    const QString value = QString::fromStdString(it->dump());
    const bool negative = it->is_number_float()
                              ? it->get<double>() < 0
                              : !it->is_number_unsigned() && it->get<std::int64_t>() < 0;
    if (negative)
        return u"Its %1 is %2 ms, before the note began."_s.arg(name, value);
    return u"Its %1 is %2 ms, past the %3 hours a note can last."_s.arg(name, value)
        .arg(NoteLimits::longestMs / 3'600'000);
}

Violation timesViolation(const Json& object, const QString& where,
                         std::initializer_list<std::string_view> keys) {
    for (std::string_view key : keys)
        if (auto violation = timeViolation(object, key, where))
            return violation;
    return std::nullopt;
}

Violation countViolation(const Json& object, std::string_view key, const QString& where,
                         qsizetype most) {
    auto it = object.find(key);
    if (it == object.end() || !it->is_structured() || static_cast<qsizetype>(it->size()) <= most)
        return std::nullopt;
    return u"Its %1 holds %2 entries, more than the %3 a note can have."_s.arg(where + keyName(key))
        .arg(it->size())
        .arg(most);
}

// The count of the list at `key`, then `check` on each of its objects.
template <typename Check>
Violation entriesViolation(const Json& object, std::string_view key, const QString& where,
                           qsizetype most, const Check& check) {
    if (auto violation = countViolation(object, key, where, most))
        return violation;
    auto it = object.find(key);
    if (it == object.end() || !it->is_array())
        return std::nullopt;
    for (std::size_t i = 0; i < it->size(); ++i) {
        const Json& entry = (*it)[i];
        if (!entry.is_object())
            continue;
        if (auto violation = check(entry, u"%1%2[%3]."_s.arg(where, keyName(key)).arg(i)))
            return violation;
    }
    return std::nullopt;
}

Violation rangeViolation(const Json& object, std::string_view key, const QString& where,
                         qint64 lowest, qint64 highest) {
    auto it = object.find(key);
    if (it == object.end() || !it->is_number() || within(*it, lowest, highest))
        return std::nullopt;
    return u"Its %1 is %2, outside %3 to %4."_s
        .arg(where + keyName(key), QString::fromStdString(it->dump()))
        .arg(lowest)
        .arg(highest);
}

Violation sectionViolation(const Json& section, const QString& where) {
    if (auto violation = rangeViolation(section, "index", where, 0, NoteLimits::mostSections - 1))
        return violation;
    if (auto violation = timesViolation(section, where, {"startMs", "endMs"}))
        return violation;
    return entriesViolation(section, "words", where, NoteLimits::mostEntries,
                            [](const Json& word, const QString& at) {
                                return timesViolation(word, at, {"startMs", "endMs"});
                            });
}

Violation turnViolation(const Json& turn, const QString& where) {
    return timesViolation(turn, where, {"startMs", "endMs"});
}

Violation highlightViolation(const Json& highlight, const QString& where) {
    return timesViolation(highlight, where, {"atMs"});
}

} // namespace

std::optional<QString> noteLimitViolation(const Json& record) {
    if (!record.is_object())
        return std::nullopt;
    const QString top;
    if (auto violation = timesViolation(record, top, {"durationMs", "limitMs"}))
        return violation;
    if (auto violation = rangeViolation(record, "revision", top, 0, NoteLimits::highestRevision))
        return violation;
    if (auto violation =
            entriesViolation(record, "sections", top, NoteLimits::mostSections, sectionViolation))
        return violation;
    for (std::string_view turns : {"turns", "originalTurns"})
        if (auto violation =
                entriesViolation(record, turns, top, NoteLimits::mostEntries, turnViolation))
            return violation;
    if (auto violation = entriesViolation(record, "highlights", top, NoteLimits::mostEntries,
                                          highlightViolation))
        return violation;
    for (std::string_view list : {"summaryCache", "speakerNames", "dismissedNameSuggestions"})
        if (auto violation = countViolation(record, list, top, NoteLimits::mostEntries))
            return violation;
    return std::nullopt;
}

StoreResult<Note> decodeNote(const QByteArray& bytes) {
    const auto damaged = [](const QString& sentence) {
        return std::unexpected(StoreError{StoreError::Kind::damaged, sentence});
    };
    const std::optional<Json> j = parseJson(bytes);
    if (!j) {
        if (jsonNestsTooDeep(std::string_view(bytes.constData(), std::size_t(bytes.size()))))
            return damaged(u"Its record nests deeper than the %1 levels Parlevo reads."_s.arg(
                jsonNestingLimit));
        return damaged(u"Its record is not valid JSON."_s);
    }
    if (!j->is_object())
        return damaged(u"Its record is not a JSON object."_s);
    if (auto violation = noteLimitViolation(*j))
        return damaged(*violation);
    try {
        return j->get<Note>();
    } catch (const nlohmann::json::exception&) {
        return damaged(u"Its record could not be decoded."_s);
    } catch (const std::invalid_argument&) {
        return damaged(u"Its record has no valid note identifier."_s);
    }
}

QByteArray encodeNote(const Note& note) {
    return jsonBytes(Json(note), 2);
}

} // namespace quendra
