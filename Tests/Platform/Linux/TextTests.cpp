#include "Platform/Linux/TextView.h"

#include "Tests/Platform/Linux/PanelRows.h"

#include <QHelpEvent>
#include <QTextLayout>
#include <QToolTip>
#include <gtest/gtest.h>

namespace quoxelin::testing {

namespace {

TextView& firstText(PanelOnScreen& panel) {
    for (auto* label : panel.window().findChildren<QLabel*>())
        if (auto* text = dynamic_cast<TextView*>(label))
            return *text;
    throw std::logic_error("no text");
}

const std::string longHost = "build-machine-of-the-second-floor.engineering.example.com";

} // namespace

TEST(Text, isAsWideAsItsLayoutMakesIt) {
    const auto wanted = QApplication::font();
    for (const char* family : {"Cantarell", "Open Sans", "DejaVu Sans"})
        for (const int size : {9, 10, 11}) {
            QApplication::setFont(QFont(family, size));
            for (const char* words : {"Disconnect", "Connect", "About", "Switch Account"}) {
                SCOPED_TRACE(std::string(family) + ' ' + words);
                PanelOnScreen panel(columnOf({view::text(words, Font::callout)}));
                auto& text = firstText(panel);
                QTextLayout layout(words, text.font());
                layout.beginLayout();
                const auto line = layout.createLine();
                layout.endLayout();
                EXPECT_GE(text.sizeHint().width(), line.naturalTextWidth());
                EXPECT_LT(text.sizeHint().width(), line.naturalTextWidth() + 1);
            }
        }
    QApplication::setFont(wanted);
}

TEST(Text, takesNoLineWhenEmpty) {
    PanelOnScreen panel(columnOf({view::text("", Font::callout), view::text("\n", Font::callout)}));
    for (const auto* label : panel.window().findChildren<QLabel*>())
        EXPECT_EQ(label->sizeHint().height(), 0);
}

TEST(Text, takesOneLineForAnEmptyParagraph) {
    PanelOnScreen panel(columnOf({view::text("above\n\nbelow\n", Font::callout)}));
    EXPECT_EQ(firstText(panel).shownLines(), (QStringList{"above", "", "below"}));
    EXPECT_EQ(firstText(panel).height(), 3 * firstText(panel).fontMetrics().lineSpacing());
}

TEST(Text, putsAValueThatDoesNotFitBehindItsLabelBelowIt) {
    const std::string address = "fd7a:7175:6f78:1:2:3:4:ae31";
    PanelOnScreen panel(
        columnOf({view::value(view::text("Quoxelin IPv6: " + address, Font::callout), 2)}));
    EXPECT_EQ(firstText(panel).shownLines(),
              (QStringList{"Quoxelin IPv6:", QString::fromStdString(address)}));
    EXPECT_FALSE(firstText(panel).isCut());
}

TEST(Text, cutsATooLongValueInItsMiddle) {
    PanelOnScreen panel(columnOf({view::value(view::text("DNS: " + longHost, Font::callout), 2)}));
    const auto lines = firstText(panel).shownLines();
    ASSERT_EQ(lines.size(), 2);
    EXPECT_EQ(lines[0], "DNS:");
    EXPECT_TRUE(lines[1].startsWith("build-mach")) << lines[1].toStdString();
    EXPECT_TRUE(lines[1].contains(u'…'));
    EXPECT_TRUE(lines[1].endsWith("ample.com")) << lines[1].toStdString();
}

TEST(Text, cutsAMessageAtTheEndOfItsLastLine) {
    auto message = view::text("", Font::caption);
    for (int i = 0; i < 100; ++i)
        message.text += "word ";
    message.lineLimit = 3;
    PanelOnScreen panel(columnOf({message}));
    const auto lines = firstText(panel).shownLines();
    ASSERT_EQ(lines.size(), 3);
    EXPECT_TRUE(lines[2].endsWith(u'…'));
    message.text = "a\nb\nc\nd";
    panel.show(columnOf({message}));
    EXPECT_EQ(firstText(panel).shownLines(), (QStringList{"a", "b", "c d"}));
}

TEST(Text, isWholeInAToolTipWhereItIsCut) {
    const auto toolTipOf = [](const ViewNode& text) {
        PanelOnScreen panel(columnOf({text}));
        auto& view = firstText(panel);
        QHelpEvent ask(QEvent::ToolTip, view.rect().center(),
                       view.mapToGlobal(view.rect().center()));
        QApplication::sendEvent(&view, &ask);
        const auto shown = QToolTip::text();
        QToolTip::hideText();
        runLoopUntilIdle();
        return shown.toStdString();
    };
    EXPECT_NE(toolTipOf(view::value(view::text(longHost, Font::callout), 1)).find(longHost),
              std::string::npos);
    EXPECT_EQ(toolTipOf(view::value(view::text("laptop", Font::callout), 1)), "");
    // Not as markup.
    EXPECT_NE(toolTipOf(view::value(view::text("<b>" + longHost, Font::callout), 1)).find("&lt;b"),
              std::string::npos);
}

TEST(Text, isLaidOutAFewTimesOnly) {
    auto tree = columnOf({});
    qsizetype characters = 0;
    for (int i = 0; i < 10; ++i) {
        tree.children.push_back(view::value(view::text("DNS: " + longHost, Font::callout), 2));
        tree.children.push_back(view::text(longHost + ' ' + longHost, Font::caption));
        characters += static_cast<qsizetype>(3 * longHost.size());
    }
    const auto before = TextView::charactersLaidOut();
    PanelOnScreen panel(tree);
    panel.window().grab();
    const auto first = TextView::charactersLaidOut();
    EXPECT_LE(first - before, 8 * characters);
    // What stays as it is costs nothing again.
    panel.show(tree);
    panel.window().grab();
    EXPECT_EQ(TextView::charactersLaidOut(), first);
}

} // namespace quoxelin::testing
