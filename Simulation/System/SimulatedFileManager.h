#pragma once

#include "Platform/Foundation.h"

namespace quoxelin {

/// Knows real directories, those that it is given. Fill it before other threads ask.
class SimulatedFileManager final : public NSFileManager {
  public:
    /// None to begin with: nothing is written into a home directory by accident.
    std::vector<std::filesystem::path> applicationSupport;
    std::filesystem::path temporary = std::filesystem::temp_directory_path();

    std::vector<std::filesystem::path> applicationSupportDirectories() const override {
        return applicationSupport;
    }
    std::filesystem::path temporaryDirectory() const override { return temporary; }
};

} // namespace quoxelin
