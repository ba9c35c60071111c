#include "Base/LocalTime.h"

namespace quoxelin {

std::tm localTime(std::time_t time) {
    std::tm parts{};
    ::tzset(); // travelers change the zone while the program runs
    ::localtime_r(&time, &parts);
    return parts;
}

} // namespace quoxelin
