#include "Base/LocalTime.h"

namespace quoxelin {

std::tm localTime(std::time_t time) {
    std::tm parts{};
    ::localtime_r(&time, &parts);
    return parts;
}

} // namespace quoxelin
