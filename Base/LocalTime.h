#pragma once

#include <ctime>

namespace quoxelin {

/// The calendar time in the machine's time zone. Any thread.
std::tm localTime(std::time_t time);

} // namespace quoxelin
