#include "Simulation/Daemon/Server/StandardStreams.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/write.hpp>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace quoxelin::sim {

namespace asio = boost::asio;
using ErrorCode = boost::system::error_code;

StandardDescriptor::StandardDescriptor(asio::io_context& context, int number)
    : stream(context, ::dup(number)), number(number), flags(::fcntl(number, F_GETFL)) {}

StandardDescriptor::~StandardDescriptor() {
    ::fcntl(number, F_SETFL, flags);
}

LineInput::LineInput(asio::io_context& context, std::function<void(std::string_view line)> take)
    : input(context, STDIN_FILENO), lines(std::move(take)), block(65536, '\0') {}

void LineInput::start() {
    input.stream.async_read_some(asio::buffer(block), [this](ErrorCode error, std::size_t count) {
        if (error == asio::error::operation_aborted)
            return;
        if (error)
            return lines.finish();
        lines.add({block.data(), count});
        start();
    });
}

LineOutput::LineOutput(asio::io_context& context) : output(context, STDOUT_FILENO) {}

void LineOutput::write(const std::string& line) {
    queue.push_back(line + "\n");
    proceed();
}

void LineOutput::whenWritten(std::function<void()> done) {
    written = std::move(done);
    proceed();
}

void LineOutput::proceed() {
    if (busy)
        return;
    if (queue.empty()) {
        if (const auto done = std::exchange(written, {}))
            done();
        return;
    }
    busy = true;
    asio::async_write(output.stream, asio::buffer(queue.front()),
                      [this](ErrorCode error, std::size_t) {
                          if (error == asio::error::operation_aborted)
                              return;
                          busy = false;
                          // Without a reader the rest is dropped.
                          if (error)
                              queue.clear();
                          else
                              queue.pop_front();
                          proceed();
                      });
}

} // namespace quoxelin::sim
