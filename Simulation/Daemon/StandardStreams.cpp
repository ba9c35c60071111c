#include "Simulation/Daemon/StandardStreams.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/write.hpp>

#include <fcntl.h>
#include <unistd.h>

#include <utility>

namespace quoxelin::sim {

namespace asio = boost::asio;
using ErrorCode = boost::system::error_code;

LineInput::LineInput(asio::io_context& context, std::function<void(std::string)> lineHandler,
                     std::function<void()> endedHandler)
    : input(context, ::dup(STDIN_FILENO)), flags(::fcntl(STDIN_FILENO, F_GETFL)),
      line(std::move(lineHandler)), ended(std::move(endedHandler)), scratch(65536, '\0') {}

LineInput::~LineInput() {
    ::fcntl(STDIN_FILENO, F_SETFL, flags);
}

void LineInput::start() {
    readMore();
}

void LineInput::readMore() {
    input.async_read_some(asio::buffer(scratch), [this](ErrorCode error, std::size_t count) {
        if (error == asio::error::operation_aborted) {
            return;
        }
        if (error) {
            if (!unfinished.empty()) {
                line(std::exchange(unfinished, {}));
            }
            ended();
            return;
        }
        std::size_t from = 0;
        for (std::size_t i = 0; i < count; ++i) {
            if (scratch[i] == '\n') {
                unfinished.append(scratch, from, i - from);
                from = i + 1;
                line(std::exchange(unfinished, {}));
            }
        }
        unfinished.append(scratch, from, count - from);
        readMore();
    });
}

LineOutput::LineOutput(asio::io_context& context)
    : output(context, ::dup(STDOUT_FILENO)), flags(::fcntl(STDOUT_FILENO, F_GETFL)) {}

LineOutput::~LineOutput() {
    ::fcntl(STDOUT_FILENO, F_SETFL, flags);
}

void LineOutput::write(std::string text) {
    queue.push_back(std::move(text) + "\n");
    proceed();
}

void LineOutput::whenWritten(std::function<void()> done) {
    written = std::move(done);
    proceed();
}

void LineOutput::proceed() {
    if (busy) {
        return;
    }
    if (queue.empty()) {
        if (const auto done = std::exchange(written, {})) {
            done();
        }
        return;
    }
    busy = true;
    asio::async_write(output, asio::buffer(queue.front()), [this](ErrorCode error, std::size_t) {
        if (error == asio::error::operation_aborted) {
            return;
        }
        busy = false;
        if (error) {
            queue.clear(); // nobody reads: the simulation goes on without telling
        } else {
            queue.pop_front();
        }
        proceed();
    });
}

} // namespace quoxelin::sim
