#pragma once

#include <string>
#include <sys/types.h>

namespace quoxelin::stage {

/// The path of the program started as that process; empty if there is none.
std::string programOf(pid_t process);

} // namespace quoxelin::stage
