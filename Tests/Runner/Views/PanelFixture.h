#pragma once

#include "Tests/Support/PanelScene.h"
#include "Tests/Support/ViewSearch.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace quoxelin::testing {

/// The panel's content and the user's actions.
class PanelFixture : public ::testing::Test, protected PanelScene {
  protected:
    void click(const std::string& text) { testing::click(tree(), text); }

    bool shows(const std::string& text) { return findText(tree(), text) != nullptr; }

    bool isHighlighted(const std::string& text) {
        const auto shown = tree();
        const auto* const row = findRow(shown, text);
        return row != nullptr && row->background == Color::gray && row->backgroundOpacity == 0.12;
    }

    void hover(const std::string& text, bool isHovering) {
        const auto shown = tree();
        const auto* const row = findRow(shown, text);
        ASSERT_NE(row, nullptr) << text;
        ASSERT_TRUE(row->onHover) << text;
        row->onHover(isHovering);
    }

    std::vector<std::string> logAfterward() {
        dispatch.runUntilIdle();
        return log();
    }
};

} // namespace quoxelin::testing
