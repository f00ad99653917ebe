#pragma once

#include <QThread>

namespace quendra {

// Held by a class whose methods must all run on the thread that built it (the
// main thread, for everything that touches Qt objects or the stores' caches).
// A call from any other thread ends a debug build at once, naming the method,
// instead of corrupting state somewhere later; release builds keep nothing.
class MainThreadChecker {
public:
#ifndef NDEBUG
    void check(const char* where) const {
        if (QThread::currentThread() != owner)
            qFatal("%s was called on a thread other than the one that owns it", where);
    }

private:
    QThread* owner = QThread::currentThread();
#else
    void check(const char*) const {}
#endif
};

} // namespace quendra

// The method's own name in the message, so that the failing test says which call broke the rule.
#define QUENDRA_CHECK_THREAD(checker) (checker).check(Q_FUNC_INFO)
