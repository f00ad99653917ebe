#pragma once

#include "platform/MicrophonePermission.h"

namespace quendra {

class FakeMicrophonePermission final : public MicrophonePermission {
public:
    bool granted() override { return isGranted; }
    bool request() override {
        ++requests;
        return isGranted;
    }

    bool isGranted = true;
    int requests = 0;
};

} // namespace quendra
