#include "Platform/Linux/ScrollView.h"

#include <QImage>
#include <QPainter>
#include <QStyleOptionSlider>
#include <gtest/gtest.h>

namespace quoxelin::testing {

namespace {

/// Whether the bar of a view over content that is higher by that much can be seen.
bool isBarDrawn(int hiddenHeight) {
    QImage image(8, 318, QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    const auto empty = image;
    QStyleOptionSlider bar;
    bar.rect = image.rect();
    bar.orientation = Qt::Vertical;
    bar.maximum = hiddenHeight;
    bar.pageStep = image.height();
    QPainter painter(&image);
    ThinScrollBarStyle().drawComplexControl(QStyle::CC_ScrollBar, &bar, &painter, nullptr);
    painter.end();
    return image != empty;
}

} // namespace

TEST(ThinScrollBarStyle, drawsABarOnlyIfThereIsSomethingToScroll) {
    EXPECT_TRUE(isBarDrawn(1));
    EXPECT_FALSE(isBarDrawn(0));
}

} // namespace quoxelin::testing
