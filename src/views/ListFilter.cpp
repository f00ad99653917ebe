#include "ListFilter.h"

namespace quendra {

void ListFilter::setQuery(const QString& query) {
    text = query;
    words = query.split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

bool ListFilter::matches(const QStringList& texts) const {
    for (const QString& word : words) {
        bool found = false;
        for (const QString& t : texts) {
            if (t.contains(word, Qt::CaseInsensitive)) {
                found = true;
                break;
            }
        }
        if (!found)
            return false;
    }
    return true;
}

} // namespace quendra
