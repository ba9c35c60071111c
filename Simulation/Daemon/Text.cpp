#include "Simulation/Daemon/Text.h"

#include "Base/Url.h"
#include "Base/Utf8.h"

#include <algorithm>
#include <map>

namespace quoxelin::sim {

std::string printable(std::string_view bytes) {
    std::string text(bytes);
    if (!isValidUtf8(bytes))
        std::replace_if(
            text.begin(), text.end(), [](unsigned char c) { return c >= 0x80; }, '?');
    return text;
}

std::optional<std::string> queryItem(std::string_view target, std::string_view name) {
    if (const auto url = Url::parse(target))
        for (const auto& item : url->queryItems())
            if (item.name == name)
                return item.value;
    return std::nullopt;
}

std::string_view pathOf(std::string_view target) {
    return target.substr(0, target.find('?'));
}

std::string htmlEscaped(std::string_view text) {
    static const std::map<char, std::string> entities = {
        {'&', "&amp;"}, {'<', "&lt;"}, {'>', "&gt;"}, {'"', "&quot;"}, {'\'', "&#39;"}};
    std::string escaped;
    for (const char c : text) {
        const auto entity = entities.find(c);
        escaped += entity == entities.end() ? std::string(1, c) : entity->second;
    }
    return escaped;
}

} // namespace quoxelin::sim
