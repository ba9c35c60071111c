#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace quoxelin::sim {

/// How bytes are put on a socket: in one go, or cut at offsets with a pause before each further
/// piece, so that the reader sees them arrive in separate reads.
struct Pacing {
    std::vector<std::size_t>
        split; ///< rising offsets into the bytes; those at or beyond the end do nothing
    std::chrono::milliseconds pause{0};
};

/// Bytes on their way to one or more sockets. They are shared: a large network map is held once.
struct Delivery {
    std::shared_ptr<const std::string> bytes;
    Pacing pacing;
};

} // namespace quoxelin::sim
