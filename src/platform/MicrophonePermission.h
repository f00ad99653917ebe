#pragma once

#include <memory>

namespace quendra {

// Whether the microphone may be recorded. Where the system has no prompt, it
// counts as granted when the sound server is reachable and offers an input.
//
// Thread contract: owner's thread only; granted() is cheap enough to poll.
class MicrophonePermission {
public:
    virtual ~MicrophonePermission();

    virtual bool granted() = 0;
    // Asks the user where the system can; otherwise the same as granted().
    virtual bool request() { return granted(); }

    static std::unique_ptr<MicrophonePermission> create();
};

} // namespace quendra
