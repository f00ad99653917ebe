#pragma once

#include <QString>

namespace quendra {

// Characters here are what a reader sees as one character (grapheme
// clusters), so an accent or an emoji is never cut in half.
qsizetype characterCount(const QString& text);
QString prefixCharacters(const QString& text, qsizetype maxCharacters);

// Trims, collapses every run of white space (line ends included) to one
// blank, keeps at most `maxCharacters` characters and trims again: the form in
// which user text is stored.
QString boundText(const QString& text, qsizetype maxCharacters);

} // namespace quendra
