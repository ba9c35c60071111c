#pragma once

#include "Platform/Foundation.h"

namespace quoxelin {

class OsReleaseProcessInfo final : public NSProcessInfo {
  public:
    /// The name is the bundle's "CFBundleName", or the program's file name without one.
    OsReleaseProcessInfo(const NSBundle& bundle, const std::string& program);

    std::string processName() const override { return name; }

    /// The number before the first dot of VERSION_ID in os-release, or 0.
    int operatingSystemMajorVersion() const override { return majorVersion; }

    static int majorVersionIn(const std::string& osRelease);

  private:
    std::string name;
    int majorVersion;
};

} // namespace quoxelin
