#pragma once

#include "Platform/Linux/ContainerViews.h"
#include "Platform/Linux/ScrollView.h"

namespace quoxelin {

/// Children below each other, which scroll if there are many.
class ListView final : public QWidget, public ElementView {
  public:
    ListView();

    QWidget& widget() override { return *this; }
    const QWidget& widget() const override { return *this; }
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    void windowDidShow() override;
    void windowDidHide() override;
    void collectReadable(std::vector<QWidget*>& widgets) override;

  protected:
    void bindContent(const ViewNode& node) override;
    void readContent(ViewNode& node) const override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    QWidget* column;
    ScrollView* scrollView;
    ChildViews children;
};

} // namespace quoxelin
