#pragma once

#include "platform/IdleInhibitor.h"

#include <QStringList>

namespace quendra {

// Counts the holds that are alive.
class FakeIdleInhibitor final : public IdleInhibitor {
public:
    class FakeHold final : public Hold {
    public:
        explicit FakeHold(int& alive)
            : alive(alive) {
            ++alive;
        }
        ~FakeHold() override { --alive; }

    private:
        int& alive;
    };

    std::unique_ptr<Hold> hold(const QString& reason) override {
        reasons << reason;
        return std::make_unique<FakeHold>(alive);
    }

    int alive = 0;
    QStringList reasons;
};

} // namespace quendra
