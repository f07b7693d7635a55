// An owning handle for reference-counted GLib objects.
//
// GObjectRef<T> holds one reference to a T and drops it when it goes away, so
// no GObject is ever held by a raw owning pointer. Two ways in:
//
//   auto view = GObjectRef<WebKitWebView>::adopt(WEBKIT_WEB_VIEW(g_object_new(...)));
//       takes over the reference the caller was given (a "transfer full"
//       result). A floating reference (GtkWidget, GInitiallyUnowned) is sunk,
//       so the handle owns a normal one.
//   auto manager = GObjectRef<WebKitUserContentManager>::ref(webkit_web_view_get_user_content_manager(v));
//       adds a reference of its own to an object somebody else owns
//       ("transfer none"); a floating object is sunk instead.
//
// Copies add a reference, moves hand it over. release() gives the reference
// back to the caller, who then owns it.
//
// The default traits use g_object_ref_sink/g_object_unref. Boxed types with
// their own ref and unref (WebKitUserScript, GBytes, ...) specialise
// GObjectRefTraits<T> with static `ref(T*)`, `adopt(T*)` and `unref(T*)`.
#pragma once

#include <glib-object.h>

#include <utility>

namespace zv {

template <typename T>
struct GObjectRefTraits {
    static T* ref(T* object) { return static_cast<T*>(g_object_ref_sink(object)); }
    static T* adopt(T* object) {
        if (g_object_is_floating(object)) g_object_ref_sink(object);
        return object;
    }
    static void unref(T* object) { g_object_unref(object); }
};

template <typename T, typename Traits = GObjectRefTraits<T>>
class GObjectRef {
public:
    GObjectRef() noexcept = default;
    GObjectRef(std::nullptr_t) noexcept {}

    // Takes over the caller's reference (sinking a floating one). Null gives an empty handle.
    static GObjectRef adopt(T* object) { return GObjectRef(object ? Traits::adopt(object) : nullptr); }
    // Adds a reference of its own. Null gives an empty handle.
    static GObjectRef ref(T* object) { return GObjectRef(object ? Traits::ref(object) : nullptr); }

    GObjectRef(const GObjectRef& other) : object_(other.object_ ? Traits::ref(other.object_) : nullptr) {}
    GObjectRef(GObjectRef&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    GObjectRef& operator=(GObjectRef other) noexcept {
        std::swap(object_, other.object_);
        return *this;
    }
    ~GObjectRef() { reset(); }

    T* get() const noexcept { return object_; }
    T* operator->() const noexcept { return object_; }
    explicit operator bool() const noexcept { return object_ != nullptr; }

    // Hands the reference to the caller; the handle is empty afterwards.
    [[nodiscard]] T* release() noexcept { return std::exchange(object_, nullptr); }
    void reset() noexcept {
        if (T* object = std::exchange(object_, nullptr)) Traits::unref(object);
    }

    friend bool operator==(const GObjectRef& a, const GObjectRef& b) noexcept { return a.object_ == b.object_; }
    friend bool operator==(const GObjectRef& a, const T* b) noexcept { return a.object_ == b; }

private:
    explicit GObjectRef(T* object) noexcept : object_(object) {}

    T* object_ = nullptr;
};

}  // namespace zv
