#pragma once

#include "Platform/SystemLog.h"

namespace quoxelin {

/// The unified log.
class MacSystemLog final : public SystemLog {
  public:
    void log(const std::string& text) override;
    void log(const std::string& subsystem, const std::string& category,
             const std::string& text) override;
};

} // namespace quoxelin
