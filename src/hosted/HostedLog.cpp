#include "HostedLog.h"

namespace quendra {

Q_LOGGING_CATEGORY(hostedLog, "com.orvane.quendra.mac.hosted", QtInfoMsg)

} // namespace quendra
