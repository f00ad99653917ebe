#include "notes/NoteSummarizer.h"

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
    Json out = Json::object();
    if (!summary.is_object())
        return out;
    for (const char* key : {"title", "overview"})
        if (Json value = text(summary, key); value.is_string() && !value.get<std::string>().empty())
            out[key] = value;
    for (const SummaryList& list : summaryLists) {
        Json items = Json::array();
        const auto found = summary.find(list.key);
        if (found != summary.end() && found->is_array()) {
            for (const Json& item : *found) {
                // A bare string is an item without a moment.
                Json kept = item.is_string() ? Json{{"text", item}} : Json::object();
                if (item.is_object()) {
                    kept["text"] = text(item, "text");
                    if (const auto at = moment(item, durationMs))
                        kept["atMs"] = *at;
                    if (Json owner = text(item, "owner"); owner.is_string())
                        kept["owner"] = owner;
                }
                if (kept["text"].is_string() && !kept["text"].get<std::string>().empty())
                    items.push_back(std::move(kept));
            }
        }
        out[list.key] = std::move(items);
    }
    return out;
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
