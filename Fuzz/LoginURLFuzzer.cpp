// A login URL is only found in an object and is never empty.
#include "Base/Json.h"
#include "Base/Utf8.h"
#include "Fuzz/Fuzzing.h"
#include "Runner/Services/State/LocalAPIClient.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quoxelin;
    const auto body = fuzzing::text(data, size);
    if (const auto url = LocalAPIClient::extractInteractiveLoginURL(body)) {
        fuzzing::require(!url->empty() && isValidUtf8(*url));
        const auto tree = json::parse(body);
        fuzzing::require(tree && tree->isObject());
    }
    return 0;
}
