#pragma once

#include "Platform/Foundation.h"

namespace quoxelin {

class OsReleaseProcessInfo final : public NSProcessInfo {
  public:
    /// The name is the bundle's "CFBundleName", as it is where a bundle names its executable; else
    /// that of the program's file.
    OsReleaseProcessInfo(const NSBundle& bundle, const std::string& program);

    std::string processName() const override { return name; }

    /// The number before the first dot of VERSION_ID in os-release; 0 where there is none.
    int operatingSystemMajorVersion() const override { return majorVersion; }

    static int majorVersionIn(const std::string& osRelease);

  private:
    std::string name;
    int majorVersion;
};

} // namespace quoxelin
