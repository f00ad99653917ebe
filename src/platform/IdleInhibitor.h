#pragma once

#include <QString>

#include <memory>

namespace quendra {

// Keeps the system from idling while something the user started runs.
//
// Thread contract: owner's thread only.
class IdleInhibitor {
public:
    // Held for as long as the system must stay awake; released when destroyed.
    class Hold {
    public:
        virtual ~Hold();
    };

    virtual ~IdleInhibitor();

    // None when the system offers no way to inhibit; that is not an error.
    virtual std::unique_ptr<Hold> hold(const QString& reason) = 0;

    static std::unique_ptr<IdleInhibitor> create();
};

} // namespace quendra
