#include "Runner/Services/State/HashiBusClient.h"
#include "Runner/Services/State/LocalAPIClient.h"
#include "Tests/Support/Generators.h"
#include "Tests/Support/LinkFixture.h"

#include <algorithm>
#include <rapidcheck/gtest.h>

namespace quoxelin::testing {

namespace {

/// A client of each kind with its dependencies, on a virtual clock.
struct Link : LinkSurroundings {
    Link() { bus->delegate = delegate; }
    ~Link() { bus->stop(); }

    struct Delegate final : HashiBusClientDelegate {
        void hashiBusDidReceiveNotify(const HashiBusNotify& notify) override {
            received.push_back(notify);
        }
        std::vector<HashiBusNotify> received;
    };

    std::shared_ptr<Delegate> delegate = std::make_shared<Delegate>();
    std::shared_ptr<HashiBusClient> bus = std::make_shared<HashiBusClient>(
        HashiBusClient::Dependencies{dispatch, daemon, logger}, socketPath);
    LocalAPIClient api{{dispatch, daemon, logger}, socketPath};
};

/// Notifications and other lines that may stand between them.
rc::Gen<std::string> line() {
    const auto version = [](const std::string& text) {
        HashiBusNotify notify;
        notify.version = text;
        return json::encode(notify);
    };
    const auto withoutFeed = [](std::string text) {
        text.erase(std::remove(text.begin(), text.end(), '\n'), text.end());
        return text;
    };
    return rc::gen::oneOf(
        rc::gen::map(generate::text(), version),
        rc::gen::map(generate::text(),
                     [version](const std::string& text) { return ' ' + version(text) + '\r'; }),
        rc::gen::element<std::string>("", "\r", "1a3f\r", "HTTP/1.1 200 OK\r", "{}", "[]", "{"),
        rc::gen::map(generate::bytes(), withoutFeed));
}

/// Splits the text at random places. No piece is empty.
std::vector<std::string> pieces(const std::string& whole) {
    auto cuts = *rc::gen::container<std::vector<std::size_t>>(
        rc::gen::inRange<std::size_t>(1, whole.size()));
    cuts.push_back(whole.size());
    std::sort(cuts.begin(), cuts.end());
    std::vector<std::string> pieces;
    std::size_t begin = 0;
    for (const auto cut : cuts) {
        if (cut > begin)
            pieces.push_back(whole.substr(begin, cut - begin));
        begin = cut;
    }
    return pieces;
}

} // namespace

RC_GTEST_PROP(HashiBusClientProperty, anySplitOfAnyStreamYieldsTheSameNotifications, ()) {
    const auto lines = *rc::gen::container<std::vector<std::string>>(line());
    std::string stream = "HTTP/1.1 200 OK\r\nA: b\r\n\r\n";
    std::vector<HashiBusNotify> expected;
    for (const auto& one : lines) {
        stream += one + '\n';
        if (auto notify = json::decode<HashiBusNotify>(one))
            expected.push_back(*std::move(notify));
    }
    Link link;
    link.daemon.busHeader = "";
    link.bus->start();
    link.dispatch.runUntilIdle();
    for (const auto& piece : pieces(stream)) {
        link.daemon.send(piece);
        link.dispatch.runUntilIdle();
    }
    RC_ASSERT((link.delegate->received == expected));
}

RC_GTEST_PROP(HashiBusClientProperty, everyLineArrivesWhereverStreamsEndBetweenLines, ()) {
    const auto count = *rc::gen::inRange(1, 20);
    Link link;
    link.bus->start();
    link.dispatch.runUntilIdle();
    std::string expected, received;
    for (int i = 0; i < count; ++i) {
        expected += std::to_string(i) + ' ';
        link.daemon.notify("{\"Version\":\"" + std::to_string(i) + " \"}");
        if (*rc::gen::arbitrary<bool>()) {
            link.daemon.closeBus();
            link.dispatch.advance(seconds(3));
        }
    }
    link.dispatch.runUntilIdle();
    for (const auto& notify : link.delegate->received)
        received += *notify.version;
    RC_ASSERT(received == expected);
}

RC_GTEST_PROP(LocalAPIClientProperty, anyReplyInAnyPiecesCompletesEveryOperationOnce, ()) {
    Link link;
    const auto header = *rc::gen::oneOf(
        rc::gen::element<std::string>("", "HTTP/1.1 200 OK\r\n\r\n", "HTTP/1.1 500 No\r\n\r\n"),
        generate::bytes());
    const auto body = *rc::gen::oneOf(
        rc::gen::element<std::string>("{\"a\":{\"interactiveLoginUrl\":\"u\"}}",
                                      "{\"current_profile_id\":\"\",\"profiles\":[{}]}"),
        generate::bytes());
    const auto chunkSize = *rc::gen::inRange<std::size_t>(0, 9);
    const auto readError = *rc::gen::element(std::optional<int>(), std::optional<int>(EIO));
    for (const auto* const path : {"/localapi/v0/status", "/localapi/v0/profiles",
                                   "/localapi/v0/login", "/localapi/v0/hatago"}) {
        link.daemon.answer("", path, SimulatedDaemon::raw(header + body));
        link.daemon.deliveries[path] = {{}, chunkSize, false, readError};
    }
    int completed = 0;
    link.api.getStatus([&](auto) { ++completed; });
    link.api.getProfiles([&](auto) { ++completed; });
    link.api.startLogin([&](auto) { ++completed; });
    link.api.setWantRunning(true, [&](auto) { ++completed; });
    link.dispatch.runUntilIdle();
    RC_ASSERT(completed == 4);
    RC_ASSERT(link.daemon.openConnections() == 0u);
}

RC_GTEST_PROP(LocalAPIClientProperty, anyLoginURLIsFoundWhereverItIsNested, ()) {
    const auto url =
        *rc::gen::suchThat(generate::text(), [](const auto& text) { return !text.empty(); });
    json::Writer writer;
    const auto depth = *rc::gen::inRange(0, 50);
    for (int i = 0; i < depth; ++i) {
        writer.beginObject();
        writer.key("k" + *generate::text());
        writer.beginArray();
        writer.integer(*rc::gen::arbitrary<std::int64_t>());
    }
    writer.beginObject();
    writer.key("InteractiveLoginUrl");
    writer.string(url);
    writer.endObject();
    for (int i = 0; i < depth; ++i) {
        writer.endArray();
        writer.endObject();
    }
    RC_ASSERT((LocalAPIClient::extractInteractiveLoginURL(writer.text()) == url));
}

} // namespace quoxelin::testing
