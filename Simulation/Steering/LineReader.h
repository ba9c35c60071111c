#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace quoxelin {

/// Cuts bytes into lines. One thread.
class LineReader {
  public:
    /// `take` gets each line without its end.
    explicit LineReader(std::function<void(std::string_view line)> take) : take(std::move(take)) {}

    void add(std::string_view bytes);

    /// Takes the last line, which needs no end.
    void finish();

    /// Adds what one read of the descriptor brings; false at its end.
    bool read(int descriptor);

  private:
    std::function<void(std::string_view line)> take;
    std::string unfinished;
};

} // namespace quoxelin
