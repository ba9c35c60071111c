#pragma once

#include "Simulation/Daemon/Delivery.h"

#include <chrono>
#include <cstddef>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace quoxelin::sim {

/// This status, these header fields (beside Content-Length) and this body instead of the daemon's
/// own answer.
struct CannedReply {
    int status = 200;
    std::string reason; ///< empty: the usual words of the status
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;
};
/// These bytes instead of any HTTP reply; then the connection is closed, or kept open.
struct RawReply {
    std::string bytes;
    bool keepOpen = false;
};
/// The daemon's own reply, cut off; then the connection is closed.
struct TruncatedReply {
    std::size_t bytes = 0;   ///< how much is left
    bool countsBody = false; ///< counted from the body's first byte, the header being sent whole
};
/// The request is read and never answered; the connection stays open until the client closes it.
struct NoReply {};
/// The request is read and the connection closed without a byte.
struct DroppedConnection {};
/// The daemon's own reply, only later or in pieces.
struct OwnReply {};

using ScriptedReply =
    std::variant<CannedReply, RawReply, TruncatedReply, NoReply, DroppedConnection, OwnReply>;

/// One line of the script: how requests of a method and path are answered.
struct ScriptedAnswer {
    std::string method; ///< empty: any
    std::string
        path; ///< with a query it must be the whole target, otherwise the target's path; "*": any
    std::optional<std::size_t> times; ///< absent: until cleared
    ScriptedReply reply;
    std::chrono::milliseconds delay{0}; ///< waited before the first byte
    Pacing pacing;
};

/// The script of answers. Limited answers come first, in the order they were given; when none of
/// them matches, the latest unlimited one does.
class ScriptedAnswers {
  public:
    /// An unlimited answer takes the place of the one with the same method and path.
    void add(ScriptedAnswer answer);
    /// How this request is to be answered, using up one time; absent: as the daemon does.
    std::optional<ScriptedAnswer> take(std::string_view method, std::string_view target);
    /// Forgets the answers for exactly this method and path, every answer when both are empty. The
    /// number forgotten.
    std::size_t clear(std::string_view method, std::string_view path);

  private:
    std::deque<ScriptedAnswer> limited;
    std::deque<ScriptedAnswer> unlimited; ///< latest first
};

} // namespace quoxelin::sim
