#pragma once

#include "Simulation/Daemon/DaemonModel.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace quoxelin::sim {

/// The web page of a login URL, on 127.0.0.1. Its button completes the login and returns to the
/// application through a "quoxelin:" URL with a token.
class LoginPage {
  public:
    LoginPage(boost::asio::io_context& context, DaemonModel& model)
        : model(model), acceptor(context) {}

    /// Starts listening on a free port. Returns an error text on failure.
    std::optional<std::string> listen();
    /// Such as "http://127.0.0.1:40123". Call it after `listen`.
    std::string address() const;

  private:
    struct Visit;

    void accept();
    void serve(const std::shared_ptr<Visit>& visit);
    std::string answer(std::string_view method, std::string_view target);

    DaemonModel& model;
    boost::asio::ip::tcp::acceptor acceptor;
};

} // namespace quoxelin::sim
