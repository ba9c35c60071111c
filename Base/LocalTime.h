#pragma once

#include <ctime>

namespace quoxelin {

/// The calendar time at the machine's place. Any thread.
std::tm localTime(std::time_t time);

} // namespace quoxelin
