#include "Simulation/Daemon/Server/LoginPage.h"

#include "Simulation/Daemon/Http.h"
#include "Simulation/Daemon/Server/Channel.h"
#include "Simulation/Daemon/Text.h"

#include <boost/asio/ip/address_v4.hpp>
#include <fmt/format.h>
#include <utility>

namespace quoxelin::sim {

using boost::asio::ip::tcp;
using ErrorCode = boost::system::error_code;

namespace {

std::string page(int status, std::string_view title, std::string_view content,
                 HeaderFields headers = {}) {
    headers.emplace_back("Content-Type", "text/html; charset=utf-8");
    headers.emplace_back("Cache-Control", "no-store");
    const auto text = fmt::format(R"(<!doctype html>
<html lang="en"><meta charset="utf-8"><title>{0} - simulated Quoxelin</title>
<body style="font: 16px system-ui; margin: 20vh auto; text-align: center">
<h1>{0}</h1>
{1}
<p><small>A simulated login: no account and no network is involved.</small></p>
</body></html>
)",
                                  title, content);
    return httpReply(status, headers, text, false);
}

} // namespace

/// One connection and its only request. Its handlers keep it alive.
struct LoginPage::Visit {
    std::shared_ptr<Channel> channel;
    HttpRequest request;
    std::string received;
};

std::optional<std::string> LoginPage::listen() {
    ErrorCode error;
    const tcp::endpoint endpoint(boost::asio::ip::address_v4::loopback(), 0);
    acceptor.open(endpoint.protocol(), error);
    if (!error)
        acceptor.bind(endpoint, error);
    if (!error)
        acceptor.listen(tcp::acceptor::max_listen_connections, error);
    if (error)
        return "cannot serve the login page: " + error.message();
    accept();
    return std::nullopt;
}

std::string LoginPage::address() const {
    ErrorCode ignored;
    return fmt::format("http://127.0.0.1:{}", acceptor.local_endpoint(ignored).port());
}

void LoginPage::accept() {
    acceptor.async_accept([this](ErrorCode error, tcp::socket socket) {
        if (error)
            return;
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
        if (bytes.empty() || progress == HttpRequest::Progress::malformed)
            return visit->channel->close();
        if (progress == HttpRequest::Progress::incomplete)
            return serve(visit);
        auto reply = answer(visit->request.method(), visit->request.target());
        visit->channel->send({std::make_shared<const std::string>(std::move(reply)), {}},
                             [visit](bool) { visit->channel->close(); });
    });
}

std::string LoginPage::answer(std::string_view method, std::string_view target) {
    const auto path = pathOf(target);
    if (path.rfind("/login/", 0) != 0)
        return page(404, "No such page", "<p>Logins begin in the application.</p>");
    if (model.pendingLoginUrl() != address() + std::string(path))
        return page(410, "Login expired", "<p>This login is no longer waited for.</p>");
    if (method == "GET")
        return page(200, "Log in to Quoxelin",
                    fmt::format("<p>{}</p>\n<form method=\"post\">"
                                "<button id=\"login\">Log in</button></form>",
                                htmlEscaped(model.pendingPerson())));
    if (method != "POST")
        return page(405, "No such method", "", {{"Allow", "GET, POST"}});
    const auto callback = model.completeLogin().value_or("");
    // For browsers that do not follow the header.
    return page(200, "Logged in",
                fmt::format("<p><a id=\"callback\" href=\"{}\">Return to Quoxelin</a></p>",
                            htmlEscaped(callback)),
                {{"Refresh", "0; url=" + callback}});
}

} // namespace quoxelin::sim
