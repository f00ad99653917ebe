#include "notes/NoteSummarizer.h"

#include "notes/NoteSummary.h"

namespace quendra {

namespace {

std::optional<qint64> moment(const Json& item, qint64 durationMs) {
    const auto at = field<double>(item, "atMs");
    if (!at || *at < 0 || *at > double(durationMs))
        return std::nullopt;
    return qint64(*at);
}

Json text(const Json& object, const char* key) {
    const auto value = field<std::string>(object, key);
    return value ? Json(*value) : Json();
}

} // namespace

Json tidySummary(const Json& summary, qint64 durationMs) {
    NoteSummary read = NoteSummary::read(summary);
    read.keepMomentsWithin(durationMs);
    return read.toJson();
}

Json tidyAnswer(const Json& answer, qint64 durationMs) {
    Json out{{"text", ""}, {"citations", Json::array()}};
    if (!answer.is_object())
        return out;
    if (Json value = text(answer, "text"); value.is_string())
        out["text"] = value;
    if (const auto found = answer.find("citations"); found != answer.end() && found->is_array())
        for (const Json& item : *found)
            if (const auto at = moment(item, durationMs))
                out["citations"].push_back({{"atMs", *at}});
    return out;
}

} // namespace quendra
