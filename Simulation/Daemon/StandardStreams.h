#pragma once

#include <boost/asio/posix/stream_descriptor.hpp>

#include <deque>
#include <functional>
#include <string>

namespace quoxelin::sim {

/// Lines of standard input, whatever it is: pipe, terminal, file or /dev/null.
class LineInput {
  public:
    LineInput(boost::asio::io_context& context, std::function<void(std::string)> line,
              std::function<void()> ended);
    ~LineInput();

    void start();

  private:
    void readMore();

    boost::asio::posix::stream_descriptor input;
    int flags; ///< of the open file, which is shared with whoever started us
    std::function<void(std::string)> line;
    std::function<void()> ended;
    std::string unfinished;
    std::string scratch;
};

/// Lines of standard output, written in the background: a reader that takes its time holds nothing
/// up.
class LineOutput {
  public:
    explicit LineOutput(boost::asio::io_context& context);
    ~LineOutput();

    void write(std::string line);
    /// Calls `done` when everything written so far has left, or cannot leave.
    void whenWritten(std::function<void()> done);

  private:
    void proceed();

    boost::asio::posix::stream_descriptor output;
    int flags;
    std::deque<std::string> queue;
    std::function<void()> written;
    bool busy = false;
};

} // namespace quoxelin::sim
