#pragma once

#include <functional>
#include <gio/gio.h>
#include <memory>
#include <string>

namespace quoxelin {

// RAII for GLib.

struct GObjectUnref {
    void operator()(gpointer object) const { g_object_unref(object); }
};

/// One reference to an object.
template <typename Object>
using GPtr = std::unique_ptr<Object, GObjectUnref>;

struct GFree {
    void operator()(char* text) const { g_free(text); }
};

using GText = std::unique_ptr<char, GFree>;

/// The error, if any, of one call.
class GFailure {
  public:
    GFailure() = default;
    GFailure(const GFailure&) = delete;
    GFailure& operator=(const GFailure&) = delete;
    ~GFailure() { g_clear_error(&error); }

    /// Pass this to the call.
    GError** out() { return &error; }

    /// A readable text.
    std::string text() const {
        return error != nullptr && error->message != nullptr ? error->message : "unknown error";
    }

  private:
    GError* error = nullptr;
};

/// Receives the result of an asynchronous call. Called exactly once, on the main thread.
using AsyncAnswer = std::function<void(GObject* source, GAsyncResult* result)>;

/// The last two arguments of an asynchronous call are `answered` and `passing(answer)`.
inline gpointer passing(AsyncAnswer answer) {
    return std::make_unique<AsyncAnswer>(std::move(answer)).release();
}

inline void answered(GObject* source, GAsyncResult* result, gpointer data) {
    const std::unique_ptr<AsyncAnswer> answer(static_cast<AsyncAnswer*>(data));
    (*answer)(source, result);
}

/// Calls `function` with each element of a GLib array.
template <typename Item, typename Function>
void forEach(const GPtrArray* items, const Function& function) {
    for (guint place = 0; place < items->len; ++place)
        function(static_cast<Item*>(g_ptr_array_index(items, place)));
}

} // namespace quoxelin
