#include "workbench/app/ScenePicture.h"

#include <gtest/gtest.h>

#include <QPainter>

namespace {

QImage paper() {
    QImage picture(600, 400, QImage::Format_RGB32);
    picture.fill(QColor(230, 230, 192));
    return picture;
}

TEST(ScenePicture, WhatIsShownFillsThePictureButForANarrowMargin) {
    QImage picture = paper();
    QPainter(&picture).fillRect(QRect(100, 150, 300, 120), Qt::darkGreen);
    const QImage cut = withoutEmptyMargins(picture);
    EXPECT_EQ(cut.size(), QSize(324, 144));
    EXPECT_EQ(cut.pixelColor(12, 12), QColor(Qt::darkGreen));
    EXPECT_EQ(cut.pixelColor(11, 11), QColor(230, 230, 192));
}

TEST(ScenePicture, AFlatStripKeepsSomeOfTheGroundAboveAndBelow) {
    QImage picture = paper();
    QPainter(&picture).fillRect(QRect(0, 190, 600, 20), Qt::darkGreen);
    const QImage cut = withoutEmptyMargins(picture);
    EXPECT_EQ(cut.width(), 600);
    EXPECT_NEAR(cut.height(), 200, 16);
}

TEST(ScenePicture, NothingShownAndAFullPictureStayAsTheyAre) {
    EXPECT_EQ(withoutEmptyMargins(paper()), paper());
    EXPECT_TRUE(withoutEmptyMargins(QImage()).isNull());
    QImage full(64, 64, QImage::Format_RGB32);
    for (int y = 0; y < 64; ++y) {
        for (int x = 0; x < 64; ++x) {
            full.setPixelColor(x, y, QColor(4 * x, 4 * y, 100));
        }
    }
    EXPECT_EQ(withoutEmptyMargins(full), full);
}

} // namespace
