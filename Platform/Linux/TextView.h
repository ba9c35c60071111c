#pragma once

#include "Platform/Linux/ElementView.h"

#include <QLabel>
#include <map>
#include <optional>

namespace quoxelin {

/// Breaks a paragraph into lines of that width. The last line of `limit` (0 for no limit) is the
/// whole rest.
QStringList wrapped(const QString& paragraph, const QFont& font, int width, qsizetype limit = 0);

/// A text, always shown as plain text.
class TextView final : public QLabel, public ElementView {
  public:
    TextView();

    QWidget& widget() override { return *this; }
    const QWidget& widget() const override { return *this; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    bool hasHeightForWidth() const override { return lineLimit != 1; }
    int heightForWidth(int width) const override;
    void collectReadable(std::vector<QWidget*>& widgets) override;

    /// The lines as they are drawn now.
    QStringList shownLines() const;

    /// Whether a part of the text is not shown.
    bool isCut() const;

    /// How many characters all texts together have laid out so far.
    static qsizetype charactersLaidOut();

  protected:
    void bindContent(const ViewNode& node) override;
    void readContent(ViewNode& node) const override;
    bool event(QEvent* event) override;
    void changeEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    struct Line {
        QString text;
        int width;
        /// As high as its letters: those of another script may be higher than the font's own.
        int height;
    };

    /// The text in lines of at most some width.
    struct Block {
        std::vector<Line> lines;
        bool isCut;
        int height() const;
    };

    Line measured(const QString& line) const;
    const std::vector<Line>& paragraphs() const;
    const Block& block(int width) const;
    QStringList broken(int width) const;
    QStringList brokenAtSpaces(int width) const;
    const Block& shownBlock() const { return block(contentsRect().width()); }
    void forgetLayout();

    int lineLimit = 0;
    Truncation truncation = Truncation::tail;
    bool announcesChanges = false;
    /// The paragraphs without any break.
    mutable std::optional<std::vector<Line>> unbroken;
    /// By width. Kept, because a layout asks for the same few again and again.
    mutable std::map<int, Block> blocks;
};

} // namespace quoxelin
