#include "Simulation/Daemon/ScriptedAnswers.h"

#include "Simulation/Daemon/Text.h"

#include <algorithm>

namespace quoxelin::sim {

namespace {

bool matches(const ScriptedAnswer& answer, std::string_view method, std::string_view target) {
    if (!answer.method.empty() && answer.method != method)
        return false;
    const bool withQuery = answer.path.find('?') != std::string::npos;
    return answer.path == "*" || answer.path == (withQuery ? target : pathOf(target));
}

} // namespace

void ScriptedAnswers::add(ScriptedAnswer answer) {
    if (answer.times) {
        limited.push_back(std::move(answer));
        return;
    }
    std::erase_if(unlimited, [&](const ScriptedAnswer& other) {
        return other.method == answer.method && other.path == answer.path;
    });
    unlimited.push_front(std::move(answer));
}

std::optional<ScriptedReply> ScriptedAnswers::take(std::string_view method,
                                                   std::string_view target) {
    const auto fits = [&](const ScriptedAnswer& answer) { return matches(answer, method, target); };
    const auto first = std::find_if(limited.begin(), limited.end(), fits);
    if (first == limited.end()) {
        const auto lasting = std::find_if(unlimited.begin(), unlimited.end(), fits);
        return lasting == unlimited.end() ? std::nullopt : std::optional(lasting->reply);
    }
    auto reply = first->reply;
    if (--*first->times == 0)
        limited.erase(first);
    return reply;
}

std::size_t ScriptedAnswers::clear(std::string_view method, std::string_view path) {
    const bool all = method.empty() && path.empty();
    const auto meant = [&](const ScriptedAnswer& answer) {
        return all || (answer.method == method && answer.path == path);
    };
    return std::erase_if(limited, meant) + std::erase_if(unlimited, meant);
}

} // namespace quoxelin::sim
