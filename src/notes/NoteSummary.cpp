#include "NoteSummary.h"

#include "model/Note.h"

#include <QStringList>

#include <cmath>
#include <initializer_list>
#include <string_view>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

using Keys = std::initializer_list<std::string_view>;

const Json* member(const Json& object, Keys keys) {
    if (!object.is_object())
        return nullptr;
    for (std::string_view key : keys)
        if (auto it = object.find(key); it != object.end() && !it->is_null())
            return &*it;
    return nullptr;
}

QString text(const Json& object, Keys keys) {
    const Json* value = member(object, keys);
    return value && value->is_string() ? QString::fromStdString(value->get<std::string>()).trimmed()
                                       : QString();
}

std::optional<qint64> withinNote(double ms) {
    if (!std::isfinite(ms) || ms < 0 || ms > double(NoteLimits::longestMs))
        return std::nullopt;
    return qint64(std::llround(ms));
}

// "75", "1:15" or "0:01:15" as seconds, each part after the first below 60.
std::optional<qint64> clockMs(const QString& text) {
    const QStringList parts = text.trimmed().split(u':');
    if (parts.size() > 3)
        return std::nullopt;
    double seconds = 0;
    for (qsizetype i = 0; i < parts.size(); ++i) {
        bool ok = false;
        const double part = parts[i].toDouble(&ok);
        if (!ok || part < 0 || (i > 0 && part >= 60))
            return std::nullopt;
        seconds = seconds * 60 + part;
    }
    return withinNote(seconds * 1000);
}

std::optional<qint64> moment(const Json& value);

std::optional<qint64> momentIn(const Json& object) {
    if (const Json* ms = member(object, {"startMs", "atMs", "momentMs", "timeMs", "ms"});
        ms && ms->is_number())
        return withinNote(ms->get<double>());
    if (const Json* s = member(object, {"startSec", "atSec", "seconds", "startSeconds"});
        s && s->is_number())
        return withinNote(s->get<double>() * 1000);
    if (const Json* other = member(object, {"moment", "time", "timestamp", "at", "start"}))
        return moment(*other);
    return std::nullopt;
}

// A bare number is milliseconds, as every time in a note is; text is a clock.
std::optional<qint64> moment(const Json& value) {
    if (value.is_number())
        return withinNote(value.get<double>());
    if (value.is_string())
        return clockMs(QString::fromStdString(value.get<std::string>()));
    if (value.is_object())
        return momentIn(value);
    return std::nullopt;
}

const Keys itemTextKeys{"text",   "title",    "summary", "point",      "decision",
                        "action", "question", "task",    "description"};

std::optional<NoteSummaryItem> item(const Json& value) {
    NoteSummaryItem result;
    if (value.is_string()) {
        result.text = QString::fromStdString(value.get<std::string>()).trimmed();
    } else if (value.is_object()) {
        result.text = text(value, itemTextKeys);
        result.atMs = momentIn(value);
        result.owner = text(value, {"owner", "assignee", "who", "person"});
    }
    if (result.text.isEmpty())
        return std::nullopt;
    return result;
}

QList<NoteSummaryItem> items(const Json& object, Keys keys) {
    QList<NoteSummaryItem> result;
    const Json* list = member(object, keys);
    if (!list)
        return result;
    if (!list->is_array()) {
        if (auto single = item(*list))
            result.append(*single);
        return result;
    }
    for (const Json& element : *list)
        if (auto read = item(element))
            result.append(*read);
    return result;
}

std::optional<NoteSummaryTopic> topic(const Json& value) {
    NoteSummaryTopic result;
    if (value.is_string()) {
        result.title = QString::fromStdString(value.get<std::string>()).trimmed();
    } else if (value.is_object()) {
        result.title = text(value, {"title", "name", "topic", "label"});
        result.text = text(value, {"summary", "description", "text", "details"});
        if (result.title.isEmpty())
            std::swap(result.title, result.text);
        if (const Json* list = member(value, {"moments", "times", "timestamps", "mentions"});
            list && list->is_array()) {
            for (const Json& element : *list)
                if (auto at = moment(element))
                    result.momentsMs.append(*at);
        } else if (auto at = momentIn(value)) {
            result.momentsMs.append(*at);
        }
    }
    if (result.title.isEmpty())
        return std::nullopt;
    return result;
}

} // namespace

bool NoteSummary::isEmpty() const {
    return overview.isEmpty() && keyPoints.isEmpty() && decisions.isEmpty() && actions.isEmpty() &&
           openQuestions.isEmpty() && topics.isEmpty();
}

NoteSummary NoteSummary::read(const Json& object) {
    NoteSummary summary;
    if (!object.is_object())
        return summary;
    summary.title = text(object, {"title", "headline"});
    summary.overview = text(object, {"overview", "summary", "gist", "abstract"});
    summary.keyPoints = items(object, {"keyPoints", "key_points", "points", "highlights"});
    summary.decisions = items(object, {"decisions"});
    summary.actions = items(object, {"actions", "actionItems", "action_items", "tasks", "todos"});
    summary.openQuestions =
        items(object, {"openQuestions", "open_questions", "questions", "unresolved"});
    if (const Json* list = member(object, {"topics"}); list && list->is_array())
        for (const Json& element : *list)
            if (auto read = topic(element))
                summary.topics.append(*read);
    return summary;
}

Json NoteSummary::toJson() const {
    const auto list = [](const QList<NoteSummaryItem>& items) {
        Json out = Json::array();
        for (const NoteSummaryItem& item : items) {
            Json one{{"text", item.text.toStdString()}};
            if (item.atMs)
                one["atMs"] = *item.atMs;
            if (!item.owner.isEmpty())
                one["owner"] = item.owner.toStdString();
            out.push_back(std::move(one));
        }
        return out;
    };
    Json out = Json::object();
    if (!title.isEmpty())
        out["title"] = title.toStdString();
    if (!overview.isEmpty())
        out["overview"] = overview.toStdString();
    out["keyPoints"] = list(keyPoints);
    out["decisions"] = list(decisions);
    out["actions"] = list(actions);
    out["openQuestions"] = list(openQuestions);
    Json topicList = Json::array();
    for (const NoteSummaryTopic& topic : topics) {
        Json one{{"title", topic.title.toStdString()}, {"moments", topic.momentsMs}};
        if (!topic.text.isEmpty())
            one["text"] = topic.text.toStdString();
        topicList.push_back(std::move(one));
    }
    out["topics"] = std::move(topicList);
    return out;
}

void NoteSummary::keepMomentsWithin(qint64 durationMs) {
    const auto inside = [durationMs](qint64 at) { return at >= 0 && at <= durationMs; };
    for (QList<NoteSummaryItem>* list : {&keyPoints, &decisions, &actions, &openQuestions})
        for (NoteSummaryItem& item : *list)
            if (item.atMs && !inside(*item.atMs))
                item.atMs.reset();
    for (NoteSummaryTopic& topic : topics)
        topic.momentsMs.removeIf([&](qint64 at) { return !inside(at); });
}

QList<NoteSummaryList> NoteSummary::lists() const {
    QList<NoteSummaryList> out;
    const std::pair<QString, const QList<NoteSummaryItem>*> all[] = {
        {QStringLiteral("Key points"), &keyPoints},
        {QStringLiteral("Decisions"), &decisions},
        {QStringLiteral("Actions"), &actions},
        {QStringLiteral("Open questions"), &openQuestions},
    };
    for (const auto& [heading, items] : all)
        if (!items->isEmpty())
            out.append({heading, *items});
    return out;
}

} // namespace quendra
