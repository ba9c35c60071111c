#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>

namespace quoxelin {

/// The texts in a key file, as desktop entries and NetworkManager's plugins are written in, read
/// once.
class KeyFile {
  public:
    /// One that is missing or broken holds nothing.
    explicit KeyFile(const std::filesystem::path& path);

    std::optional<std::string> string(const std::string& group, const std::string& key) const;

  private:
    std::map<std::pair<std::string, std::string>, std::string> values;
};

} // namespace quoxelin
