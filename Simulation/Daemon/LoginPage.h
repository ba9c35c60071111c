#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace quoxelin::sim {

/// The web page on 127.0.0.1 that a login URL leads to: a page with a button, and behind the button
/// the login's completion and the way back into the application, a "quoxelin:" URL with a token.
class LoginPage {
  public:
    struct Outside {
        std::function<std::optional<std::string>()>
            pendingLogin;                           ///< its secret, the last part of the path
        std::function<std::string()> person;        ///< who would be logged in
        std::function<std::string()> completeLogin; ///< answers the callback URL
    };

    LoginPage(boost::asio::io_context& context, Outside outside);

    /// Begins to listen on the port, any free one for 0. The failure text; absent on success.
    std::optional<std::string> listen(unsigned short port);
    /// Such as "http://127.0.0.1:40123", once it listens.
    std::string address() const;

  private:
    struct Visit;

    void accept();
    void serve(const std::shared_ptr<Visit>& visit);
    std::string answer(std::string_view method, std::string_view target);
    std::string answerLogin(std::string_view method);

    Outside outside;
    boost::asio::ip::tcp::acceptor acceptor;
};

} // namespace quoxelin::sim
