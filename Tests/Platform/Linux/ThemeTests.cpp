#include "Platform/Linux/Theme.h"

#include "Tests/Support/PanelStates.h"

#include <QApplication>
#include <gtest/gtest.h>
#include <set>

namespace quoxelin::testing {

namespace {

/// The color and opacity of every text in the tree.
void collectTextColors(const ViewNode& node, std::set<std::pair<Color, double>>& colors) {
    if (node.kind == ViewNode::Kind::text)
        colors.emplace(node.color, node.opacity);
    for (const auto& child : node.children)
        collectTextColors(child, colors);
    if (node.popover)
        collectTextColors(node.popover->content, colors);
}

QPalette desktopPalette(const QColor& text, const QColor& window, const QColor& base) {
    auto palette = QApplication::palette();
    palette.setColor(QPalette::WindowText, text);
    palette.setColor(QPalette::Window, window);
    palette.setColor(QPalette::Base, base);
    return palette;
}

} // namespace

TEST(Theme, givesEveryTextAContrastThatCanBeRead) {
    std::set<std::pair<Color, double>> colors;
    for (const auto& state : panelStates())
        collectTextColors(state.scene()->tree(), colors);
    ASSERT_GE(colors.size(), 4u);
    const auto before = QApplication::palette();
    for (const auto& desktop :
         {before, desktopPalette(Qt::black, QColor(0xef, 0xef, 0xef), Qt::white),
          desktopPalette(QColor("#2e3436"), QColor("#f6f5f4"), Qt::white),
          desktopPalette(QColor("#232629"), QColor("#eff0f1"), Qt::white),
          desktopPalette(Qt::white, QColor("#353535"), QColor("#2a2a2a")),
          desktopPalette(QColor("#eeeeec"), QColor("#353535"), QColor("#2d2d2d")),
          desktopPalette(QColor("#fcfcfc"), QColor("#2a2e32"), QColor("#1b1e20"))}) {
        QApplication::setPalette(desktop);
        const Theme theme;
        for (const auto& [color, opacity] : colors)
            EXPECT_GE(theme.contrast(theme.color(color), opacity), 4.5)
                << static_cast<int>(color) << '@' << opacity << " on "
                << desktop.color(QPalette::Window).name().toStdString();
        for (const auto dot : {Color::green, Color::orange})
            EXPECT_GE(theme.contrastOnPanel(theme.color(dot), 1), 3);
    }
    QApplication::setPalette(before);
}

TEST(Theme, computesTheStandardsContrast) {
    const auto before = QApplication::palette();
    QApplication::setPalette(desktopPalette(Qt::black, Qt::white, Qt::white));
    EXPECT_NEAR(Theme().contrastOnPanel(Qt::black, 1), 21, 0.01);
    EXPECT_NEAR(Theme().contrastOnPanel(QColor("#767676"), 1), 4.54, 0.01);
    EXPECT_NEAR(Theme().contrastOnPanel(Qt::white, 1), 1, 0.01);
    QApplication::setPalette(before);
}

} // namespace quoxelin::testing
