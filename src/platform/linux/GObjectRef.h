#pragma once

#include <glib-object.h>

#include <utility>

namespace quendra {

// Holds one reference to a GObject and drops it when it goes. adopt() takes
// over the reference a (transfer full) call returned; share() adds one of its own.
template <typename T>
class GObjectRef {
public:
    GObjectRef() = default;
    static GObjectRef adopt(T* object) { return GObjectRef(object); }
    static GObjectRef share(T* object) {
        return GObjectRef(object ? static_cast<T*>(g_object_ref(object)) : nullptr);
    }

    GObjectRef(const GObjectRef& other)
        : object(other.object) {
        if (object)
            g_object_ref(object);
    }
    GObjectRef(GObjectRef&& other) noexcept
        : object(std::exchange(other.object, nullptr)) {}
    GObjectRef& operator=(GObjectRef other) noexcept {
        std::swap(object, other.object);
        return *this;
    }
    ~GObjectRef() {
        if (object)
            g_object_unref(object);
    }

    T* get() const { return object; }
    explicit operator bool() const { return object != nullptr; }

private:
    explicit GObjectRef(T* object)
        : object(object) {}

    T* object = nullptr;
};

} // namespace quendra
