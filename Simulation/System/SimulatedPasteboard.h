#pragma once

#include "Platform/NSWorkspace.h"

#include <optional>

namespace quoxelin {

/// A pasteboard of one string. Main thread only.
class SimulatedPasteboard final : public NSPasteboard {
  public:
    void clearContents() override {
        content.reset();
        ++changes;
    }
    void setString(const std::string& text) override { content = text; }

    const std::optional<std::string>& string() const { return content; }

    /// How often it was cleared.
    int changeCount() const { return changes; }

  private:
    std::optional<std::string> content;
    int changes = 0;
};

} // namespace quoxelin
