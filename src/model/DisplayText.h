#pragma once

#include <QDateTime>
#include <QString>

namespace quendra::DisplayText {

// "14:02" for today, "Mon 14:02" within the week, "23 Nov 2026, 14:02" before.
QString moment(const QDateTime& when, const QDateTime& now = QDateTime::currentDateTime());
// "0:07", "12:30", "1:02:03".
QString clock(qint64 milliseconds);
// "00:00:07", "01:02:03", "27:03:04": fixed width, as transcripts and
// subtitles print moments; hours keep counting past 99.
QString timestamp(qint64 milliseconds);

} // namespace quendra::DisplayText
