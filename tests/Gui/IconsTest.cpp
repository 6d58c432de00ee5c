#include "AppBase/Icons.h"

#include "Gui/GuiTest.h"

#include <QtGui/QPainter>

namespace {

using namespace vlrTest;
using IconsTest = GuiTest;

const char* const path = ":/icons/default/Exit.svg";

QImage painted(const QIcon& icon, const QRect& place, QIcon::Mode mode, qreal ratio) {
    QImage image(QSize(80, 60) * ratio, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(ratio);
    image.fill(Qt::white);
    QPainter painter(&image);
    icon.paint(&painter, place, Qt::AlignCenter, mode);
    return image;
}

} // namespace

// Qt's engine for the format tells what is right.
TEST_F(IconsTest, LooksAsItsFileDoesInEverySizeAndMode) {
    const QIcon expected(QString::fromLatin1(path));
    const QIcon icon = vlr::icon("Exit"_s);
    ASSERT_FALSE(expected.pixmap(16).isNull());
    for (const QSize& size : {QSize(16, 16), QSize(48, 48), QSize(40, 20)})
        for (const QIcon::Mode mode : {QIcon::Normal, QIcon::Disabled, QIcon::Selected}) {
            SCOPED_TRACE(testing::Message() << size.width() << 'x' << size.height() << ' ' << mode);
            EXPECT_EQ(icon.pixmap(size, mode).toImage(), expected.pixmap(size, mode).toImage());
            EXPECT_EQ(icon.actualSize(size, mode), expected.actualSize(size, mode));
            for (const qreal ratio : {1.0, 2.0})
                EXPECT_EQ(painted(icon, QRect(QPoint(3, 5), size), mode, ratio),
                          painted(expected, QRect(QPoint(3, 5), size), mode, ratio))
                    << ratio;
        }
}

TEST_F(IconsTest, NothingIsDrawnWithoutASize) {
    for (const QIcon::Mode mode : {QIcon::Normal, QIcon::Disabled, QIcon::Selected})
        EXPECT_TRUE(vlr::icon("Exit"_s).pixmap(QSize(0, 0), mode).isNull()) << mode;
}

TEST_F(IconsTest, AnUnknownNameGivesANullIcon) {
    expectLog(vlr::LogLevel::Warning, "There is no icon :/icons/default/NoSuchIcon.svg");
    EXPECT_TRUE(vlr::icon("NoSuchIcon"_s).isNull());
}
