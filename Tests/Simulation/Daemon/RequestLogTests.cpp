#include "Simulation/Daemon/RequestLog.h"

#include <boost/json.hpp>
#include <gtest/gtest.h>

namespace quoxelin::sim {
namespace {

namespace json = boost::json;

ReceivedRequest request(std::string method, std::string target) {
    ReceivedRequest received;
    received.method = std::move(method);
    received.target = std::move(target);
    return received;
}

TEST(RequestLog, numbersAndCountsWhatWasReceived) {
    RequestLog log;
    EXPECT_EQ(log.add(request("GET", "/a")).index, 1u);
    EXPECT_EQ(log.add(request("POST", "/b?x=1")).index, 2u);
    EXPECT_EQ(log.count("", ""), 2u);
    EXPECT_EQ(log.count("GET", ""), 1u);
    EXPECT_EQ(log.count("", "/b"), 1u);
    EXPECT_EQ(log.count("GET", "/b"), 0u);
}

TEST(RequestLog, goesOnNumberingAfterItWasCleared) {
    RequestLog log;
    log.add(request("GET", "/a"));
    log.clear();
    EXPECT_EQ(log.count("", ""), 0u);
    EXPECT_EQ(log.add(request("GET", "/a")).index, 2u);
}

TEST(RequestLog, reportsEveryByteAndNeverBreaksTheJsonLine) {
    RequestLog log;
    ReceivedRequest odd = request("GET", "/\xFF");
    odd.headers.emplace_back("X", "\xFE");
    odd.body = "\x80";
    odd.bytes = std::string("GET /\xFF\0", 7);
    odd.complete = false;
    log.add(std::move(odd));
    const json::value told = json::parse(json::serialize(log.report(0, "", ""))).at(0);
    EXPECT_EQ(told.at("bytes"), "R0VUIC//AA==");
    EXPECT_EQ(told.at("target"), "/?");
    EXPECT_EQ(told.at("headers").at(0).at(1), "?");
    EXPECT_EQ(told.at("complete"), false);
}

TEST(RequestLog, reportsWhatCameAfterANumber) {
    RequestLog log;
    for (const char* target : {"/a", "/b", "/c"}) {
        log.add(request("GET", target));
    }
    const json::array told = log.report(1, "", "");
    ASSERT_EQ(told.size(), 2u);
    EXPECT_EQ(told[0].at("target"), "/b");
    EXPECT_EQ(log.report(0, "GET", "/c").size(), 1u);
}

TEST(RequestLog, keepsTheNewestTenThousand) {
    RequestLog log;
    for (int i = 0; i < 10002; ++i) {
        log.add(request("GET", "/a"));
    }
    EXPECT_EQ(log.report(0, "", "").front().at("index"), 3);
    EXPECT_EQ(log.count("", ""), 10000u);
}

} // namespace
} // namespace quoxelin::sim
