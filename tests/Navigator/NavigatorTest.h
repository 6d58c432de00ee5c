#pragma once

#include "AppBase/AppBase.h"
#include "AppBase/QtAppMainWindow.h"
#include "IO/DataIOManager.h"
#include "Images/ImagesModule.h"
#include "Progress/CaProgressMonitor.h"
#include "Support/CommandLine.h"
#include "Support/Hand.h"
#include "Support/MessageBoxes.h"
#include "Support/Patients.h"
#include "Support/TestEnvironment.h"
#include "Volume/PlaneView.h"

#include <QtCore/QDir>
#include <QtTest/QSignalSpy>
#include <QtTest/QTest>
#include <QtWidgets/QLabel>
#include <QtWidgets/QPushButton>

#include <array>
#include <memory>

namespace vlrTest {

/// A test that runs modules inside an application.
class NavigatorTest : public testing::Test {
protected:
    NavigatorTest();
    ~NavigatorTest() override;

    /// Ends the application, which stores the configurations, and makes the next one.
    void restart();
    /// Adds the module and shows the window.
    void show(QtAppModule* module);
    /// Shows the module Images and waits for what it opens. Without paths that is the example:
    /// 128 voxels of 1 mm a side, the cross-hair at (64, 64, 64).
    ImagesModule* showImages(const QStringList& paths = {});
    /// Shows the window with another module.
    void activate(QtAppModule* module) { application->activateModule(module->name()); }

    QtAppMainWindow* window() const { return application->getMainWindow(); }
    template <class Widget>
    Widget* find(const char* name) const {
        return window()->findChild<Widget*>(QString::fromLatin1(name));
    }
    void click(const char* button) const {
        QTest::mouseClick(find<QPushButton>(button), Qt::LeftButton);
    }
    PlaneView* view(Plane plane) const {
        return qobject_cast<PlaneView*>(panes->planeControl(plane)->view());
    }

    std::unique_ptr<AppBase> application;
    std::shared_ptr<VolumePanes> panes; // They go before the application.

private:
    CommandLine m_line;
};

constexpr int patience = 60000;

/// A user who cancels what is going on, at the tick with the number.
class CancellingMonitor : public CaProgressMonitor {
public:
    explicit CancellingMonitor(int atTick = 1) : m_left(atTick) {}
    void tick() override {
        if (--m_left == 0)
            notify(CANCELLED);
    }

private:
    int m_left;
};

QByteArray png(const QImage& image);
/// A file of an image in one grey.
QByteArray png(int width, int height, QImage::Format format = QImage::Format_Grayscale8);
/// A TIFF of 2 x 2 pixels with signed grey values.
QByteArray signedTiff(const std::array<qint16, 4>& greys);
/// Makes a folder of the name with the files 1.png, 2.png and so on; the folder's path.
QString writeImages(const char* name, const std::vector<QByteArray>& files);

} // namespace vlrTest
