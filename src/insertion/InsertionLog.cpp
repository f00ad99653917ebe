#include "InsertionLog.h"

#include "model/ApplicationId.h"

namespace quendra {
Q_LOGGING_CATEGORY(cursorInsertionLog, QUENDRA_APPLICATION_ID ".cursor-insertion")
}
