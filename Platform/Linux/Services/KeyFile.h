#pragma once

#include <filesystem>
#include <optional>
#include <string>

struct _GKeyFile;

namespace quoxelin {

/// A key file as desktop entries and NetworkManager's plugins are written in, read once.
class KeyFile {
  public:
    /// One that is missing or broken holds nothing.
    explicit KeyFile(const std::filesystem::path& path);
    KeyFile(const KeyFile&) = delete;
    KeyFile& operator=(const KeyFile&) = delete;
    ~KeyFile();

    std::optional<std::string> string(const std::string& group, const std::string& key) const;

  private:
    _GKeyFile* file;
};

} // namespace quoxelin
