#pragma once

#include "Simulation/Daemon/DaemonModel.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace quoxelin::sim {

/// The web page on 127.0.0.1 that a login URL leads to: a page with a button, and behind the button
/// the login's completion and the way back into the application, a "quoxelin:" URL with a token.
class LoginPage {
  public:
    LoginPage(boost::asio::io_context& context, DaemonModel& model)
        : model(model), acceptor(context) {}

    /// Begins to listen on any free port. The failure text; absent on success.
    std::optional<std::string> listen();
    /// Such as "http://127.0.0.1:40123", once it listens.
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
