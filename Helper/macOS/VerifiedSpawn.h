#pragma once

#include "Helper/Spawn.h"

#include <functional>

namespace quoxelin::helper {

/// Starts the program that the first of `words` names, and lets it run once `verify` has no
/// objection to its process: until then it is suspended, before its first instruction. Otherwise it
/// is killed.
///
/// The process gets nothing of ours: its environment is PATH and LANG, its directory "/", its
/// standard input empty; every other descriptor is closed, signals do what they do by default, and
/// it leads a new session. It writes to a file of its own that has no name, which needs no reader:
/// neither it nor what it leaves behind needs this process to go on.
tl::expected<Spawned, std::string>
spawnVerified(const std::vector<std::string>& words,
              const std::function<tl::expected<void, std::string>(pid_t)>& verify);

} // namespace quoxelin::helper
