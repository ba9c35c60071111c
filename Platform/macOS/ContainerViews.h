#pragma once

#include "Platform/macOS/ElementView.h"
#include "Platform/macOS/QXRow.h"

#include <vector>

namespace quoxelin {

/// Arranges elements horizontally or vertically.
class ContainerView : public ElementView {
  public:
    void windowDidShow() override;
    void windowDidHide() override;

  protected:
    ContainerView(ViewNode::Kind kind, QXBox* box);
    /// The children are in `content`, which is in `box`.
    ContainerView(ViewNode::Kind kind, QXBox* box, QXBox* content);

    void bindContent(const ViewNode& node) override;
    void readContent(ViewNode& node) const override;
    CGSize contentSize(CGFloat available) const override;
    void placeContent(CGRect place) override;

    /// The height of the first `count` children below each other.
    CGFloat heightOfFirst(std::size_t count, CGFloat available) const;

    QXBox* const content;

  private:
    bool isVertical() const {
        return kind == ViewNode::Kind::verticalStack || kind == ViewNode::Kind::list;
    }
    CGFloat gaps() const;
    std::vector<CGSize> sizesBeside(CGFloat available) const;
    void placeBelow(CGRect place);
    void placeBeside(CGRect place);

    std::vector<std::unique_ptr<ElementView>> views;
    double spacing = 0;
};

class StackView final : public ContainerView {
  public:
    explicit StackView(ViewNode::Kind kind);
};

/// Children below each other, which scroll if there are many.
class ListView final : public ContainerView {
  public:
    ListView();

  protected:
    CGSize contentSize(CGFloat available) const override;
    void placeContent(CGRect place) override;

  private:
    NSScrollView* const scrollView;
};

/// A full-width button.
class RowView final : public ContainerView {
  public:
    RowView();
    ~RowView() override;

    void windowDidHide() override;

  protected:
    void bindContent(const ViewNode& node) override;
    void readContent(ViewNode& node) const override;

  private:
    QXRow* row() const;
};

} // namespace quoxelin
