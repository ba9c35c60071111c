#pragma once

#include <cstddef>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace quoxelin::sim {

/// This status and body instead of the daemon's answer.
struct CannedReply {
    int status = 200;
    std::string body;
};
/// These bytes instead of an HTTP reply; then the connection is closed.
struct RawReply {
    std::string bytes;
};
/// The beginning of the daemon's reply; then the connection is closed.
struct TruncatedReply {
    std::size_t bytes = 0;
    /// Whether to send the whole header and count only the body's bytes.
    bool countsBody = false;
};
/// The request is read and never answered; the connection stays open until the client closes it.
struct NoReply {};
/// The request is read and the connection closed without a byte.
struct DroppedConnection {};

using ScriptedReply =
    std::variant<CannedReply, RawReply, TruncatedReply, NoReply, DroppedConnection>;

/// The answer to requests with a method and path.
struct ScriptedAnswer {
    /// Empty matches any.
    std::string method;
    /// With a query, compared with the whole target; otherwise with the target's path. "*" matches
    /// any.
    std::string path;
    /// If empty, until cleared.
    std::optional<std::size_t> times;
    ScriptedReply reply;
};

/// The scripted answers. Limited answers come first, in the order given; then the latest unlimited
/// one.
class ScriptedAnswers {
  public:
    /// An unlimited answer replaces the one with the same method and path.
    void add(ScriptedAnswer answer);

    /// The scripted answer to this request, which counts as used. Empty if the daemon should
    /// answer.
    std::optional<ScriptedReply> take(std::string_view method, std::string_view target);

    /// Removes the answers for exactly this method and path, or all if both are empty. Returns
    /// their number.
    std::size_t clear(std::string_view method, std::string_view path);

  private:
    std::deque<ScriptedAnswer> limited;
    /// The latest first.
    std::deque<ScriptedAnswer> unlimited;
};

} // namespace quoxelin::sim
