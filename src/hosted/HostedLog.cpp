#include "HostedLog.h"

#include "model/ApplicationId.h"

namespace quendra {

Q_LOGGING_CATEGORY(hostedLog, QUENDRA_APPLICATION_ID ".hosted", QtInfoMsg)

} // namespace quendra
