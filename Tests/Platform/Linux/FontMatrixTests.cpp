#include "Platform/Linux/LeafViews.h"
#include "Platform/Linux/TextView.h"
#include "Tests/Platform/Linux/PanelOnScreen.h"
#include "Tests/Support/PanelStates.h"

#include <QFontInfo>
#include <QScreen>
#include <QTextLayout>
#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <gtest/gtest.h>

namespace quoxelin::testing {

namespace {

/// The fonts of common desktops, of other kinds of letters, and of East Asian systems.
constexpr std::array families{"Cantarell",        "DejaVu Sans",      "DejaVu Serif",   "Inter",
                              "Liberation Sans",  "Liberation Serif", "Open Sans",      "Roboto",
                              "Noto Sans CJK JP", "VL PGothic",       "Liberation Mono"};
constexpr std::array sizes{8, 9, 10, 11, 14};

struct Size {
    double width, height;
};

Size sizeOf(const QString& line, const QFont& font) {
    QTextLayout layout(line, font);
    layout.beginLayout();
    const auto laidOut = layout.createLine();
    layout.endLayout();
    return {laidOut.naturalTextWidth(), laidOut.height()};
}

/// The width that the text has, and that which spacers beside it leave empty.
int room(const TextView& text) {
    int width = text.contentsRect().width();
    for (const QWidget* each = &text; !each->isWindow(); each = each->parentWidget())
        for (const auto* sibling : each->parentWidget()->children())
            if (const auto* spacer = dynamic_cast<const SpacerView*>(sibling))
                width += spacer->width();
    return width;
}

/// What is wrong with the text, or nothing.
std::string faultOf(const TextView& text) {
    const auto lines = text.shownLines();
    const auto content = text.contentsRect();
    double height = 0;
    for (const auto& line : lines) {
        const auto size = sizeOf(line, text.font());
        height += size.height;
        if (size.width > content.width() + 0.01)
            return fmt::format("a line is {} wide in {}", size.width, content.width());
    }
    if (height > content.height() + 0.01)
        return fmt::format("the lines are {} high in {}", height, content.height());
    const auto paragraphs = text.text().split('\n');
    const bool fits =
        std::all_of(paragraphs.begin(), paragraphs.end(), [&](const QString& paragraph) {
            return std::ceil(sizeOf(paragraph, text.font()).width) <= room(text);
        });
    if (fits && lines != paragraphs)
        return "broken or cut, though it fits: " + lines.join(" / ").toStdString();
    for (const QWidget* child = &text; !child->isWindow(); child = child->parentWidget())
        if (child->parentWidget()->objectName() != "qt_scrollarea_viewport" &&
            !child->parentWidget()->rect().contains(child->geometry()))
            return "not wholly within what contains it";
    return "";
}

/// Checks all texts of a card and returns how many they are.
int checkTexts(const QWidget& card) {
    std::vector<const TextView*> texts;
    for (const auto* label : card.findChildren<QLabel*>())
        if (const auto* text = dynamic_cast<const TextView*>(label);
            text && text->window() == &card)
            texts.push_back(text);
    std::vector<QRect> places;
    for (const auto* text : texts) {
        EXPECT_EQ(faultOf(*text), "") << text->text().toStdString();
        // Rows of a list may be scrolled away.
        const auto seen = text->visibleRegion().boundingRect() & text->contentsRect();
        const QRect place(text->mapTo(&card, seen.topLeft()), seen.size());
        for (const auto& other : places)
            EXPECT_FALSE(other.intersects(place)) << text->text().toStdString();
        places.push_back(place);
    }
    return static_cast<int>(texts.size());
}

} // namespace

/// The scale of the screen is the environment's QT_SCALE_FACTOR; CTest runs this for several.
TEST(FontMatrix, breaksCutsAndCoversNoTextInAnyStateAndFont) {
    std::vector<ViewNode> trees;
    for (const auto& state : panelStates())
        trees.push_back(state.scene()->tree());
    const auto wanted = QApplication::font();
    PanelOnScreen panel(trees.front());
    int panels = 0, texts = 0;
    for (const auto* family : families) {
        ASSERT_EQ(QFontInfo(QFont(family)).family().toStdString(), family)
            << "not installed; see scripts/packages";
        for (const int size : sizes) {
            QApplication::setFont(QFont(family, size));
            for (std::size_t i = 0; i < trees.size(); ++i) {
                SCOPED_TRACE(fmt::format("{} {} {}", family, size, panelStates()[i].name));
                panel.show(trees[i]);
                // Nothing looks at the pixels.
                for (auto* card : panel.cards())
                    card->setUpdatesEnabled(false);
                runLoopUntilLaidOut();
                ++panels;
                for (const auto* card : panel.cards())
                    texts += checkTexts(*card);
            }
        }
    }
    QApplication::setFont(wanted);
    EXPECT_EQ(static_cast<std::size_t>(panels), families.size() * sizes.size() * trees.size());
    fmt::print("{} families, {} sizes, {} states at scale {}: {} panels, {} texts\n",
               families.size(), sizes.size(), trees.size(),
               QGuiApplication::primaryScreen()->devicePixelRatio(), panels, texts);
}

} // namespace quoxelin::testing
