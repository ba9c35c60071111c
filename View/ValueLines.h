#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace quoxelin {

/// The lines of a text that breaks at spaces only, `limit` at most (0 for no limit). `fits` tells
/// whether a line is narrow enough. A word that is too wide gets a separate line, and the last
/// line takes the rest; the renderer cuts such lines in the middle.
template <typename Fits>
std::vector<std::string> valueLines(std::string_view text, int limit, const Fits& fits) {
    std::vector<std::string> lines;
    while (!text.empty()) {
        const auto end = text.find_first_of(" \n");
        const auto word = text.substr(0, end);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        if (word.empty())
            continue;
        const bool isLast = lines.size() == static_cast<std::size_t>(limit);
        if (lines.empty()) {
            lines.emplace_back(word);
        } else if (auto longer = lines.back() + ' ' + std::string(word); isLast || fits(longer)) {
            lines.back() = std::move(longer);
        } else {
            lines.emplace_back(word);
        }
    }
    return lines;
}

} // namespace quoxelin
