#pragma once

#include "Helper/GObject.h"
#include "Helper/Requests.h"

#include <functional>
#include <optional>

namespace quoxelin::helper {

// What the helper asks the system bus, answered on the default main loop, once. The connection has
// to last until then.

/// The user to whom a connection to the bus belongs; none when it has gone.
void askUser(GDBusConnection* bus, const std::string& busName,
             std::function<void(std::optional<uid_t>)> answer);

/// Whether polkit lets the caller have programs run. Somebody may be asked, for as long as that
/// takes, but not longer than the caller is there: whoever has gone is not asked about any more.
/// False also when there is no polkit, or when it fails, for which `log` gets the reason.
void askPolkit(GDBusConnection* bus, const Caller& caller, std::function<void(bool)> answer,
               std::function<void(const std::string&)> log);

} // namespace quoxelin::helper
