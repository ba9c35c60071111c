// Whatever body a message has, nothing is read from it that is larger than a request. The first
// byte chooses byte order and signature.
#include "Base/Utf8.h"
#include "Fuzz/Fuzzing.h"
#include "Helper/Bus.h"
#include "Helper/Call.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

namespace quoxelin::helper {

namespace {

using fuzzing::require;

/// A connection whose other end plays the bus.
class Wire {
  public:
    Wire() {
        int ends[2] = {-1, -1};
        require(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) == 0);
        far = FileDescriptor(ends[1]);
        sd_bus_set_fd(bus.get(), ends[0], ends[0]);
        sd_bus_negotiate_fds(bus.get(), 0);
        sd_bus_add_filter(bus.get(), nullptr, &Wire::arrived, this);
        require(sd_bus_start(bus.get()) >= 0);
        deliver("DATA\r\nOK 00000000000000000000000000000001\r\n");
        require(isOpen());
    }

    bool isOpen() const { return sd_bus_is_ready(bus.get()) > 0; }

    void deliver(const std::string& bytes) {
        require(::write(far.get(), bytes.data(), bytes.size()) ==
                static_cast<ssize_t>(bytes.size()));
        while (sd_bus_process(bus.get(), nullptr) > 0) {
        }
    }

    std::optional<Call> call;
    bool hasArrived = false;

  private:
    static int arrived(sd_bus_message* message, void* self, sd_bus_error*) {
        auto& wire = *static_cast<Wire*>(self);
        wire.hasArrived = true;
        wire.call = readCall(message);
        return 1;
    }

    FileDescriptor far;
    Owned<sd_bus> bus = made<sd_bus>(&sd_bus_new);
};

class Message {
  public:
    explicit Message(bool isBigEndian) : isBigEndian(isBigEndian) {}

    void number(std::uint32_t value) {
        for (int index = 0; index < 4; ++index)
            bytes += static_cast<char>(value >> 8 * (isBigEndian ? 3 - index : index));
    }

    void field(char code, char type, std::string_view value) {
        bytes.resize((bytes.size() + 7) / 8 * 8);
        bytes.append({code, 1, type, 0});
        if (type == 'g')
            bytes += static_cast<char>(value.size());
        else
            number(static_cast<std::uint32_t>(value.size()));
        bytes.append(value).append(1, '\0');
    }

    /// A call without need of a reply.
    static std::string with(bool isBigEndian, std::string_view signature, std::string_view body) {
        Message fields(isBigEndian);
        fields.field(1, 'o', "/a");
        fields.field(3, 's', "RunGoTool");
        if (!signature.empty())
            fields.field(8, 'g', signature);
        Message whole(isBigEndian);
        whole.bytes = {isBigEndian ? 'B' : 'l', 1, 1, 1};
        whole.number(static_cast<std::uint32_t>(body.size()));
        whole.number(1);
        whole.number(static_cast<std::uint32_t>(fields.bytes.size()));
        whole.bytes += fields.bytes;
        whole.bytes.resize((whole.bytes.size() + 7) / 8 * 8);
        return whole.bytes.append(body);
    }

  private:
    const bool isBigEndian;
    std::string bytes;
};

bool isText(const std::string& text, std::size_t longest) {
    return text.size() <= longest && isValidUtf8(text) && text.find('\0') == text.npos;
}

} // namespace

} // namespace quoxelin::helper

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quoxelin;
    using namespace quoxelin::helper;
    static constexpr std::array<std::string_view, 8> signatures = {"sas",   "sas", "sas",    "ss",
                                                                   "a(yy)", "ag",  "sa(sv)", "sav"};
    static std::optional<Wire> wire;
    if (size == 0)
        return 0;
    if (!wire || !wire->isOpen())
        wire.emplace();
    const auto signature = signatures[data[0] % signatures.size()];
    const auto body = fuzzing::text(data + 1, size - 1);
    wire->hasArrived = false;
    wire->call.reset();
    wire->deliver(Message::with(data[0] >= 128, body.empty() ? "" : signature, body));
    fuzzing::require(wire->hasArrived || !wire->isOpen());
    if (const auto& call = wire->call) {
        fuzzing::require(isText(call->path, longestPath));
        fuzzing::require(call->arguments.size() <= mostArguments && signature == "sas");
        for (const auto& argument : call->arguments)
            fuzzing::require(isText(argument, longestArgument));
    }
    return 0;
}
