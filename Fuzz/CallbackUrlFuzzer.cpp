// Any text can be passed on in a query, and any argument is understood or refused.
#include "Base/Url.h"
#include "Base/Utf8.h"
#include "Fuzz/Fuzzing.h"
#include "Runner/CommandLine.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quoxelin;
    const std::string text(fuzzing::text(data, size));

    const auto line = parseCommandLine({"quoxelin-desktop", text});
    if (const auto* options = std::get_if<LaunchOptions>(&line); options && options->callbackURL)
        fuzzing::require(Url::parse(text)->scheme() == "quoxelin");

    if (const auto url = Url::parse(text)) {
        fuzzing::require(url->text() == text);
        for (const auto& item : url->queryItems())
            fuzzing::require(text.find('?') != text.npos && item.name.size() <= text.size());
    }

    const auto carrier = Url::parse("quoxelin://callback?a=" + percentEncodedForQuery(text) + "&b");
    fuzzing::require(carrier.has_value());
    // A separator of queries stays as it is.
    if (text.find('&') == text.npos) {
        const auto items = carrier->queryItems();
        fuzzing::require(items.size() == 2 && items[0].value == text && !items[1].value);
    }
    return 0;
}
