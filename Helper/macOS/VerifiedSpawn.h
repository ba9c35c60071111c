#pragma once

#include "Helper/Spawn.h"

#include <functional>

namespace quoxelin::helper {

/// Starts the program named by the first of `words`, suspended before its first instruction. Lets
/// it run if `verify` accepts the process, and kills it otherwise.
///
/// The process inherits nothing: its environment is PATH and LANG, its directory "/", its standard
/// input empty. All other descriptors are closed, signals have their default actions, and it leads
/// a new session. The output goes to an unnamed file, which needs no reader, so the program and its
/// children can outlive this process.
tl::expected<Spawned, std::string>
spawnVerified(const std::vector<std::string>& words,
              const std::function<tl::expected<void, std::string>(pid_t)>& verify);

} // namespace quoxelin::helper
