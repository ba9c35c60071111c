#pragma once

#include <string>

namespace quoxelin {

/// A new random identifier (RFC 4122, version 4) in uppercase hexadecimal. Any thread.
std::string freshUuid();

} // namespace quoxelin
