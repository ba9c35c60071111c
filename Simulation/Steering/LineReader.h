#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace quoxelin {

/// Splits bytes into lines. One thread.
class LineReader {
  public:
    /// `take` receives each line without its line feed.
    explicit LineReader(std::function<void(std::string_view line)> take) : take(std::move(take)) {}

    void add(std::string_view bytes);

    /// Passes on the last line, which needs no line feed.
    void finish();

    /// Reads once from the descriptor; false at end of file.
    bool read(int descriptor);

  private:
    std::function<void(std::string_view line)> take;
    std::string unfinished;
};

} // namespace quoxelin
