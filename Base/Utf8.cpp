#include "Base/Utf8.h"

#include <simdjson.h>

namespace quoxelin {

bool isValidUtf8(std::string_view bytes) {
    return simdjson::validate_utf8(bytes.data(), bytes.size());
}

} // namespace quoxelin
