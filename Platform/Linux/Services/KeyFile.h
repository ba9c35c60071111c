#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>

namespace quoxelin {

/// The texts in a key file, the format of desktop entries and NetworkManager's plugins. Parsed
/// once.
class KeyFile {
  public:
    /// A missing or broken file is read as empty.
    explicit KeyFile(const std::filesystem::path& path);

    bool isEmpty() const { return values.empty(); }

    std::optional<std::string> string(const std::string& group, const std::string& key) const;

  private:
    std::map<std::pair<std::string, std::string>, std::string> values;
};

} // namespace quoxelin
