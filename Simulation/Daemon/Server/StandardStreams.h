#pragma once

#include "Simulation/Steering/LineReader.h"

#include <boost/asio/posix/stream_descriptor.hpp>
#include <deque>
#include <functional>
#include <string>

namespace quoxelin::sim {

/// A copy of a standard descriptor for asynchronous use. The destructor restores its flags, because
/// the process that started us shares them.
class StandardDescriptor {
  public:
    StandardDescriptor(boost::asio::io_context& context, int number);
    StandardDescriptor(const StandardDescriptor&) = delete;
    StandardDescriptor& operator=(const StandardDescriptor&) = delete;
    ~StandardDescriptor();

    boost::asio::posix::stream_descriptor stream;

  private:
    int number;
    int flags;
};

/// Lines of standard input: a pipe, terminal, file or /dev/null.
class LineInput {
  public:
    LineInput(boost::asio::io_context& context, std::function<void(std::string_view line)> take);

    void start();

  private:
    StandardDescriptor input;
    LineReader lines;
    std::string block;
};

/// Lines of standard output, written in the background so that a slow reader blocks nothing.
class LineOutput {
  public:
    explicit LineOutput(boost::asio::io_context& context);

    void write(const std::string& line);
    /// Calls `done` when everything so far is written or cannot be written.
    void whenWritten(std::function<void()> done);

  private:
    void proceed();

    StandardDescriptor output;
    std::deque<std::string> queue;
    std::function<void()> written;
    bool busy = false;
};

} // namespace quoxelin::sim
