#include "platform/AudioSource.h"

#include "platform/IdleInhibitor.h"
#include "platform/MicrophonePermission.h"

namespace quendra {

// The interfaces' vtables live here.
AudioSource::~AudioSource() = default;
AudioSourceFactory::~AudioSourceFactory() = default;
MicrophonePermission::~MicrophonePermission() = default;
IdleInhibitor::~IdleInhibitor() = default;
IdleInhibitor::Hold::~Hold() = default;

} // namespace quendra
