#pragma once

#include <QLoggingCategory>

namespace quendra {
Q_DECLARE_LOGGING_CATEGORY(cursorInsertionLog)
}
