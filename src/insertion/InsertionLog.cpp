#include "InsertionLog.h"

namespace quendra {
Q_LOGGING_CATEGORY(cursorInsertionLog, "com.orvane.quendra.mac.cursor-insertion")
}
