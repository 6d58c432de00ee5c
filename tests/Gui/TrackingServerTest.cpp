// From a tracker of another process to the signals of the widgets.

#include "Gui/GuiTest.h"
#include "Navigation/NavigationTest.h"
#include "Tracking/OpenIGTLinkClient.h"
#include "Widgets/QtDRBVisibilityBox.h"
#include "Widgets/QtRigidVisibilityWidget.h"

#include <QtCore/QProcess>
#include <QtTest/QSignalSpy>
#include <QtTest/QTest>

using namespace vlrTest;

namespace {

constexpr int patience = 60000; // milliseconds

class TrackingServerTest : public GuiTest {
protected:
    ~TrackingServerTest() override { kill(); }

    void start(int port) {
        server.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        server.start(QStringLiteral(VLR_IGTL_SERVER), {QString::number(port)});
        while (!server.canReadLine())
            ASSERT_TRUE(server.waitForReadyRead(patience)) << server.errorString().toStdString();
        const QByteArray line = server.readLine().trimmed();
        ASSERT_TRUE(line.startsWith("port ")) << line.constData();
        options.port = line.mid(5).toUShort();
    }
    void kill() {
        server.kill();
        server.waitForFinished(patience);
    }
    void connectBox() {
        options.host = QStringLiteral("127.0.0.1");
        options.longestPause = std::chrono::milliseconds(200);
        auto made = std::make_unique<vlr::OpenIGTLinkClient>(options);
        client = made.get();
        ASSERT_EQ(box.connectTo(std::move(made)), CaError::nullError);
    }

    // Lets the server see these markers, and waits until that has come in.
    void see(const QByteArray& markers, int count) {
        server.write("see " + markers + "\n");
        EXPECT_TRUE(QTest::qWaitFor([&] { return seen() == count; }, patience))
            << markers.constData();
    }
    int seen() const {
        const auto snapshot = client->latest();
        const auto tool = snapshot->tools.find("Pointer");
        if (tool == snapshot->tools.end() || !tool->second.markers)
            return -1;
        int count = 0;
        for (const Vector3d& marker : tool->second.markers->markers)
            count += vlr::isHidden(marker) ? 0 : 1;
        return count;
    }
    // What the widget says two polls after now.
    static bool afterTwoPolls(QSignalSpy& spy) {
        const int before = spy.count();
        EXPECT_TRUE(QTest::qWaitFor([&] { return spy.count() >= before + 2; }, patience));
        return spy.at(before + 1).at(0).toBool();
    }

    QProcess server;
    SurgicalToolBox box;
    vlr::OpenIGTLinkClient::Options options;
    vlr::OpenIGTLinkClient* client = nullptr;
};

} // namespace

TEST_F(TrackingServerTest, SignalsFollowTheMarkersAndSurviveTheServer) {
    expectLog(vlr::LogLevel::Warning, "127.0.0.1"); // the server that is killed
    start(0);
    SurgicalTool* tool = box.addTool(fourMarkers());
    connectBox();
    QtDRBVisibilityBox group(nullptr);
    ASSERT_TRUE(group.addRigid(tool));
    auto* widget = group.findChild<QtRigidVisibilityWidget*>();
    QSignalSpy rigid(widget, &QtRigidVisibilityWidget::rigidVisibleSIG);
    QSignalSpy all(&group, &QtDRBVisibilityBox::allRigidsVisible);
    group.startTracking();

    see("0 1 2 3", 4);
    EXPECT_TRUE(afterTwoPolls(rigid));
    EXPECT_TRUE(afterTwoPolls(all));
    EXPECT_NEAR(tool->getRigidBody()->getRMS(), 0, 1e-3); // positions come in single precision
    EXPECT_NEAR((tool->getRigidBody()->getTranslation() - Vector3d(100, -50, -1400)).norm(), 0,
                1e-3);
    see("3 1", 2);
    EXPECT_FALSE(afterTwoPolls(rigid));
    EXPECT_FALSE(afterTwoPolls(all));
    see("0 1 2", 3);
    EXPECT_TRUE(afterTwoPolls(rigid));
    see("", 0);
    EXPECT_FALSE(afterTwoPolls(rigid));

    kill();
    EXPECT_TRUE(QTest::qWaitFor([&] { return !client->latest()->isConnected; }, patience));
    EXPECT_FALSE(afterTwoPolls(all));
    start(options.port); // nobody clicks anywhere
    see("0 1 2 3", 4);
    EXPECT_TRUE(afterTwoPolls(rigid));
    EXPECT_TRUE(afterTwoPolls(all));
}
