#include "Simulation/Daemon/LoginPage.h"

#include "Simulation/Daemon/Channel.h"
#include "Simulation/Daemon/Http.h"
#include "Simulation/Daemon/Text.h"

#include <boost/asio/ip/address_v4.hpp>
#include <fmt/format.h>

#include <memory>
#include <utility>

namespace quoxelin::sim {

namespace asio = boost::asio;
using asio::ip::tcp;
using ErrorCode = boost::system::error_code;

namespace {

constexpr std::string_view loginPrefix = "/login/";

std::string page(std::string_view title, std::string_view content) {
    return fmt::format(R"(<!doctype html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width">
<title>{0} - simulated Quoxelin</title>
<style>
body {{ font: 16px system-ui, sans-serif; max-width: 28rem; margin: 20vh auto; text-align: center; }}
button {{ font: inherit; padding: .6rem 1.6rem; }}
small {{ color: #777; }}
</style>
</head>
<body>
<h1>{0}</h1>
{1}
<p><small>A simulated login: no account and no network is involved.</small></p>
</body>
</html>
)",
                       title, content);
}

std::string reply(int status, const std::string& body, HeaderFields headers = {}) {
    headers.emplace_back("Content-Type", "text/html; charset=utf-8");
    headers.emplace_back("Cache-Control", "no-store");
    return httpReply(status, "", headers, body, false);
}

} // namespace

/// One connection with its one request; it lives in the handlers of its own operations.
struct LoginPage::Visit {
    std::shared_ptr<Channel> channel;
    HttpRequest request;
    std::string received;
};

LoginPage::LoginPage(asio::io_context& context, Outside outsideToUse)
    : outside(std::move(outsideToUse)), acceptor(context) {}

std::optional<std::string> LoginPage::listen(unsigned short port) {
    ErrorCode error;
    const tcp::endpoint endpoint(asio::ip::address_v4::loopback(), port);
    acceptor.open(endpoint.protocol(), error);
    if (!error) {
        acceptor.set_option(tcp::acceptor::reuse_address(true), error);
    }
    if (!error) {
        acceptor.bind(endpoint, error);
    }
    if (!error) {
        acceptor.listen(tcp::acceptor::max_listen_connections, error);
    }
    if (error) {
        return fmt::format("cannot serve the login page on 127.0.0.1:{}: {}", port,
                           error.message());
    }
    accept();
    return std::nullopt;
}

std::string LoginPage::address() const {
    ErrorCode ignored;
    return fmt::format("http://127.0.0.1:{}", acceptor.local_endpoint(ignored).port());
}

void LoginPage::accept() {
    acceptor.async_accept([this](ErrorCode error, tcp::socket socket) {
        if (error) {
            return;
        }
        const auto visit = std::make_shared<Visit>();
        visit->channel = std::make_shared<Channel>(std::move(socket));
        serve(visit);
        accept();
    });
}

void LoginPage::serve(const std::shared_ptr<Visit>& visit) {
    visit->channel->read([this, visit](std::string_view bytes) {
        visit->received += bytes;
        const auto progress = visit->request.read(visit->received);
        if (bytes.empty() || progress == HttpRequest::Progress::malformed) {
            visit->channel->close();
            return;
        }
        if (progress == HttpRequest::Progress::incomplete) {
            serve(visit);
            return;
        }
        std::string reply = answer(visit->request.method(), visit->request.target());
        visit->channel->send({std::make_shared<const std::string>(std::move(reply)), {}},
                             [visit](bool) { visit->channel->close(); });
    });
}

std::string LoginPage::answer(std::string_view method, std::string_view target) {
    const std::string_view path = pathOf(target);
    const auto pending = outside.pendingLogin();
    if (path.substr(0, loginPrefix.size()) != loginPrefix) {
        return reply(404, page("No such page", "<p>Logins begin in the application.</p>"));
    }
    if (!pending || path.substr(loginPrefix.size()) != *pending) {
        return reply(410, page("Login expired", "<p>This login is no longer waited for.</p>"));
    }
    return answerLogin(method);
}

std::string LoginPage::answerLogin(std::string_view method) {
    if (method == "GET") {
        return reply(200, page("Log in to Quoxelin",
                               fmt::format("<p>{}</p>\n<form method=\"post\">"
                                           "<button id=\"login\">Log in</button></form>",
                                           htmlEscaped(outside.person()))));
    }
    if (method == "POST") {
        const std::string callback = outside.completeLogin();
        // The browser hands the URL to the application by itself; the link is for one that will
        // not.
        return reply(
            200,
            page("Logged in",
                 fmt::format("<p><a id=\"callback\" href=\"{}\">Return to Quoxelin</a></p>",
                             htmlEscaped(callback))),
            {{"Refresh", "0; url=" + callback}});
    }
    return reply(405, page("No such method", ""), {{"Allow", "GET, POST"}});
}

} // namespace quoxelin::sim
