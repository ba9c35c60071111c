#pragma once

#include <cstddef>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace quoxelin::sim {

/// This status and body in place of the daemon's own answer.
struct CannedReply {
    int status = 200;
    std::string body;
};
/// These bytes in place of any HTTP reply; then the connection is closed.
struct RawReply {
    std::string bytes;
};
/// The daemon's own reply, cut off; then the connection is closed.
struct TruncatedReply {
    std::size_t bytes = 0;
    /// The bytes are counted from the body's first; the header is sent whole.
    bool countsBody = false;
};
/// The request is read and never answered; the connection stays open until the client closes it.
struct NoReply {};
/// The request is read and the connection closed without a byte.
struct DroppedConnection {};

using ScriptedReply =
    std::variant<CannedReply, RawReply, TruncatedReply, NoReply, DroppedConnection>;

/// How requests of a method and path are answered.
struct ScriptedAnswer {
    /// Empty: any.
    std::string method;
    /// With a query it must be the whole target, otherwise the target's path; "*": any.
    std::string path;
    /// Absent: until cleared.
    std::optional<std::size_t> times;
    ScriptedReply reply;
};

/// The script of answers. Limited answers come first, in the order in which they were given; then
/// the latest unlimited one.
class ScriptedAnswers {
  public:
    /// An unlimited answer replaces the one with the same method and path.
    void add(ScriptedAnswer answer);

    /// How this request is to be answered, using up one time; absent: as the daemon does.
    std::optional<ScriptedReply> take(std::string_view method, std::string_view target);

    /// Forgets the answers for exactly this method and path, or all when both are empty. Answers
    /// how many there were.
    std::size_t clear(std::string_view method, std::string_view path);

  private:
    std::deque<ScriptedAnswer> limited;
    /// The latest first.
    std::deque<ScriptedAnswer> unlimited;
};

} // namespace quoxelin::sim
