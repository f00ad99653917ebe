#pragma once

#include <QString>
#include <QStringList>

namespace quendra {

// The search-as-you-type rule of every list in the main window: each word of
// the query must appear, in any case, in one of the row's texts.
class ListFilter {
public:
    void setQuery(const QString& query);
    const QString& query() const { return text; }
    bool isEmpty() const { return words.isEmpty(); }
    bool matches(const QStringList& texts) const;

private:
    QString text;
    QStringList words;
};

} // namespace quendra
