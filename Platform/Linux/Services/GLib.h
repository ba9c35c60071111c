#pragma once

#include <glib.h>
#include <memory>
#include <string>

namespace quoxelin {

// RAII for GLib.

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

} // namespace quoxelin
