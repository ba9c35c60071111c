#include "Simulation/Daemon/Options.h"

#include <fmt/format.h>

#include <charconv>
#include <cmath>
#include <cstdlib>

namespace quoxelin::sim {

namespace {

constexpr const char* usage =
    "Usage: quoxelind-sim --socket PATH [--peers N] [--logged-in] [--auto-login SECONDS]\n"
    "                     [--web-port PORT] [--quit-on-eof]\n"
    "       quoxelind-sim --version | --help\n";

constexpr const char* help = R"(
A simulated quoxelind: it serves the daemon's local API and notification stream on a Unix socket, and a login
page on a loopback port. Nothing it says of nodes and people is real.

  --socket PATH         the Unix socket to serve; a stale one is replaced, a live one is an error
  --peers N             peers in the network map (5)
  --logged-in           begin logged in and running
  --auto-login SECONDS  a login completes itself this long after it was asked for
  --web-port PORT       port of the login page on 127.0.0.1 (0: any free one)
  --quit-on-eof         end when standard input ends
  --version, --help     print and exit

SIGINT and SIGTERM end it and remove the socket.

Standard input takes one JSON object a line; each is answered by one JSON line on standard output, with "ok" true
or with "ok" false and "error", and with the "id" of the command when it has one. Events come in between, as JSON
lines with "event". PATH, METHOD, STATE: strings; N: whole numbers; S: seconds; members in [] may be left out.
BYTES stands for "text": STRING or "base64": STRING, each with ["repeat": N].

The daemon's state
  {"do":"status"}                               what the daemon knows, and who is connected
  {"do":"login"}                                complete the login, as the web page does
  {"do":"login-url"}                            the URL of the login that waits, null when none does
  {"do":"logout"}                               as the request of that name
  {"do":"switch","profile":ID}                  make another profile current
  {"do":"jail",["reason":STRING]}  {"do":"unjail"}
  {"do":"state","state":STATE}                  NoState, NeedsLogin, Stopped, Starting or Running
  {"do":"peers","count":N}                      change the network map
  {"do":"profiles","profiles":[...],["current":ID]}   replace the profiles (see docs/quoxelind-sim.md)
  {"do":"starting-time","seconds":S}            how long Starting lasts (0.15)

The notification streams
  {"do":"notify","notification":{...}}          send this to every observer
  {"do":"raw",BYTES,["split":[N,...],"pause":S]}   send these bytes, cut at the offsets
  {"do":"stall"}  {"do":"resume"}               hold everything back; let it go
  {"do":"close-streams"}
  {"do":"stream",[BYTES,"split":[N,...],"pause":S,"greeting":BOOL,"chunked":BOOL]}
                                                how streams opened from now on begin; with no member: as usual

Answers to requests; each with ["path":PATH,"method":METHOD,"times":N,"delay":S,"split":[N,...],"pause":S]
  {"do":"answer",["status":N,"reason":STRING,"headers":{...},"json":VALUE | BYTES]}
  {"do":"answer-raw",BYTES,["keep-open":BOOL]}  these bytes and nothing else
  {"do":"truncate","bytes":N | "body-bytes":N}  the daemon's own reply, cut off
  {"do":"late"}                                 the daemon's own reply, with "delay" or in pieces
  {"do":"hang"}                                 read the request, never answer
  {"do":"drop"}                                 read the request, close the connection
  {"do":"clear",["method":METHOD,"path":PATH]}  answer as the daemon does again

Connections
  {"do":"refuse",["remove":BOOL]}               nobody listens; "remove" takes the socket file away too
  {"do":"accept",["as":"serve"|"reset"|"ignore"]}   listen (again); "reset": close without reading, so that the
                                                client sees a reset; "ignore": never read
  {"do":"close-connections"}                    close all, streams included

Watching
  {"do":"requests",["since":N,"method":METHOD,"path":PATH]}   what was received, byte for byte
  {"do":"clear-requests"}
  {"do":"wait",["requests":N,"method":METHOD,"path":PATH,"observers":N,"connections":N,"state":STATE,
                "timeout":S]}                   answered when all of it holds, or with an error after S (10)
  {"do":"quit"}
)";

PrintAndExit misuse(const std::string& what) {
    return {2, fmt::format("quoxelind-sim: {}\n{}", what, usage)};
}

template <typename Number>
std::optional<Number> wholeNumber(const std::string& text) {
    Number number{};
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && rest == end ? std::optional(number) : std::nullopt;
}

std::optional<std::chrono::milliseconds> seconds(const std::string& text) {
    char* rest = nullptr;
    const double number = std::strtod(text.c_str(), &rest);
    if (text.empty() || *rest != '\0' || !(number >= 0 && number <= 86400)) {
        return std::nullopt;
    }
    return std::chrono::milliseconds(std::lround(number * 1000));
}

/// Takes the value of the option that has one; false when the value makes no sense.
bool takeValue(Options& options, const std::string& name, const std::string& value) {
    if (name == "--socket") {
        options.socketPath = value;
        return !value.empty();
    }
    if (name == "--peers") {
        const auto peers = wholeNumber<std::uint32_t>(value);
        options.model.peers = peers.value_or(0);
        return peers && *peers <= 1000000;
    }
    if (name == "--web-port") {
        const auto port = wholeNumber<unsigned short>(value);
        options.webPort = port.value_or(0);
        return port.has_value();
    }
    options.model.autoLogin = seconds(value);
    return options.model.autoLogin.has_value();
}

bool hasValue(const std::string& name) {
    return name == "--socket" || name == "--peers" || name == "--web-port" ||
           name == "--auto-login";
}

} // namespace

std::variant<Options, PrintAndExit> readOptions(const std::vector<std::string>& arguments) {
    Options options;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& name = arguments[i];
        if (name == "--help") {
            return PrintAndExit{0, std::string(usage) + help};
        }
        if (name == "--version") {
            return PrintAndExit{0, "quoxelind-sim " QUOXELIND_SIM_VERSION "\n"};
        }
        if (name == "--logged-in") {
            options.model.loggedIn = true;
        } else if (name == "--quit-on-eof") {
            options.quitOnEof = true;
        } else if (!hasValue(name)) {
            return misuse("unknown argument " + name);
        } else if (i + 1 == arguments.size()) {
            return misuse(name + " needs a value");
        } else if (!takeValue(options, name, arguments[++i])) {
            return misuse(fmt::format("{} cannot be \"{}\"", name, arguments[i]));
        }
    }
    if (options.socketPath.empty()) {
        return misuse("--socket is missing");
    }
    return options;
}

} // namespace quoxelin::sim
