#include "Base/Icons.h"

#include "Gui/GuiTest.h"

namespace {

using namespace vlrTest;
using IconsTest = GuiTest;

} // namespace

// Qt's engine for the format tells what is right.
TEST_F(IconsTest, LooksAsItsFileDoesInEverySizeAndMode) {
    const QIcon expected(":/icons/default/Exit.svg"_s);
    const QIcon icon = vlr::icon("Exit"_s);
    ASSERT_FALSE(expected.pixmap(16).isNull());
    for (const QSize& size : {QSize(16, 16), QSize(40, 20), QSize(0, 0)})
        for (const QIcon::Mode mode : {QIcon::Normal, QIcon::Disabled})
            EXPECT_EQ(icon.pixmap(size, mode).toImage(), expected.pixmap(size, mode).toImage())
                << size.width() << ' ' << mode;
    expectLog(LogLevel::Warning, "There is no icon :/icons/default/NoSuchIcon.svg");
    EXPECT_TRUE(vlr::icon("NoSuchIcon"_s).isNull());
}
