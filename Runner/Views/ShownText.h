#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace quoxelin {

/// More bytes than the panel ever has room for. Laying out a text takes longer the longer it is,
/// and the daemon may send a text of any length.
inline constexpr std::size_t shownTextLimit = 1000;

/// The text as the panel shows it: at most `shownTextLimit` bytes. The middle of a longer text is
/// replaced by an ellipsis.
std::string shownText(std::string_view text);

} // namespace quoxelin
