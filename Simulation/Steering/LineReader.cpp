#include "Simulation/Steering/LineReader.h"

#include <array>
#include <cerrno>
#include <unistd.h>
#include <utility>

namespace quoxelin {

void LineReader::add(std::string_view bytes) {
    for (auto end = bytes.find('\n'); end != std::string_view::npos; end = bytes.find('\n')) {
        unfinished += bytes.substr(0, end);
        bytes.remove_prefix(end + 1);
        take(std::exchange(unfinished, {}));
    }
    unfinished += bytes;
}

void LineReader::finish() {
    if (!unfinished.empty())
        take(std::exchange(unfinished, {}));
}

bool LineReader::read(int descriptor) {
    std::array<char, 65536> block;
    const auto count = ::read(descriptor, block.data(), block.size());
    if (count < 0 && (errno == EINTR || errno == EAGAIN))
        return true;
    if (count <= 0) {
        finish();
        return false;
    }
    add({block.data(), static_cast<std::size_t>(count)});
    return true;
}

} // namespace quoxelin
