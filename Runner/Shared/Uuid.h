#pragma once

#include <string>

namespace quoxelin {

/// A fresh random identifier (RFC 4122, version 4), in upper-case hexadecimal. Any thread.
std::string freshUuid();

} // namespace quoxelin
