#include "Base/FileAppend.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace quoxelin {

std::size_t appendToFile(const std::string& path, std::string_view text) {
    constexpr mode_t whatTheUserMaskAllows = 0666;
    const int file =
        ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, whatTheUserMaskAllows);
    if (file < 0)
        return 0;
    // Only a signal or a full disk splits a write.
    std::size_t written = 0;
    while (written < text.size()) {
        const auto count = ::write(file, text.data() + written, text.size() - written);
        if (count > 0)
            written += static_cast<std::size_t>(count);
        else if (count == 0 || errno != EINTR)
            break;
    }
    ::close(file);
    return written;
}

} // namespace quoxelin
