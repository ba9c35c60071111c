#include "Helper/Spawn.h"

#include "Helper/Text.h"

#include <algorithm>

namespace quoxelin::helper {

std::string outputOf(const Spawned& spawned) {
    // All writers share the file position with us.
    const auto written = std::clamp<off_t>(::lseek(spawned.output.get(), 0, SEEK_CUR), 0,
                                           static_cast<off_t>(longestOutput));
    std::string text(static_cast<std::size_t>(written), '\0');
    const auto count = ::pread(spawned.output.get(), text.data(), text.size(), 0);
    text.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    return asUtf8(text);
}

} // namespace quoxelin::helper
