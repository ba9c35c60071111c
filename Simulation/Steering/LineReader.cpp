#include "Simulation/Steering/LineReader.h"

#include <array>
#include <cerrno>
#include <unistd.h>

namespace quoxelin {

bool LineReader::read(int descriptor) {
    std::array<char, 65536> block;
    const auto count = ::read(descriptor, block.data(), block.size());
    if (count < 0 && (errno == EINTR || errno == EAGAIN))
        return true;
    if (count <= 0)
        return false;
    const auto seen = buffer.size();
    buffer.append(block.data(), static_cast<std::size_t>(count));
    std::size_t begin = 0;
    for (auto end = buffer.find('\n', seen); end != std::string::npos;
         end = buffer.find('\n', begin)) {
        take(std::string_view(buffer).substr(begin, end - begin));
        begin = end + 1;
    }
    buffer.erase(0, begin);
    return true;
}

} // namespace quoxelin
