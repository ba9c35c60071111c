#pragma once

#include "Platform/NSWorkspace.h"

namespace quoxelin {

class QtPasteboard final : public NSPasteboard {
  public:
    void clearContents() override;
    void setString(const std::string& text) override;
};

} // namespace quoxelin
