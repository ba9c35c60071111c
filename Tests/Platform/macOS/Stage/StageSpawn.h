#pragma once

#include <string>
#include <sys/types.h>

namespace quoxelin::stage {

/// The path of the program that was started as that process; empty if none was.
std::string programOf(pid_t process);

} // namespace quoxelin::stage
