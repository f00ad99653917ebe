#include "DisplayText.h"

#include <QLocale>

using namespace Qt::Literals::StringLiterals;

namespace quendra::DisplayText {

QString moment(const QDateTime& when, const QDateTime& now) {
    if (!when.isValid())
        return {};
    const QDateTime local = when.toLocalTime();
    const QLocale locale;
    // Minutes are enough to tell dictations apart; some locales' short form has seconds.
    const QString time =
        locale.toString(local.time(), locale.timeFormat(QLocale::ShortFormat).remove(u":ss"_s));
    const qint64 days = local.date().daysTo(now.toLocalTime().date());
    if (days == 0)
        return time;
    if (days > 0 && days < 7)
        return u"%1 %2"_s.arg(locale.dayName(local.date().dayOfWeek(), QLocale::ShortFormat), time);
    return u"%1, %2"_s.arg(locale.toString(local.date(), u"d MMM yyyy"_s), time);
}

QString clock(qint64 milliseconds) {
    const qint64 seconds = std::max<qint64>(0, milliseconds) / 1000;
    const qint64 h = seconds / 3600, m = seconds / 60 % 60, s = seconds % 60;
    if (h > 0)
        return u"%1:%2:%3"_s.arg(h).arg(m, 2, 10, QLatin1Char('0')).arg(s, 2, 10, QLatin1Char('0'));
    return u"%1:%2"_s.arg(m).arg(s, 2, 10, QLatin1Char('0'));
}

QString timestamp(qint64 milliseconds) {
    const qint64 seconds = std::max<qint64>(0, milliseconds) / 1000;
    return u"%1:%2:%3"_s.arg(seconds / 3600, 2, 10, QLatin1Char('0'))
        .arg(seconds / 60 % 60, 2, 10, QLatin1Char('0'))
        .arg(seconds % 60, 2, 10, QLatin1Char('0'));
}

} // namespace quendra::DisplayText
