#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace quoxelin {

/// Cuts what comes from a descriptor into lines. One thread only.
class LineReader {
  public:
    /// `take` gets each line without its end; a last line without one is left out.
    explicit LineReader(std::function<void(std::string_view line)> take) : take(std::move(take)) {}

    /// One read of a descriptor that has something to read, and the lines that it completes. False
    /// when nothing will come any more.
    bool read(int descriptor);

  private:
    std::function<void(std::string_view line)> take;
    std::string buffer;
};

} // namespace quoxelin
