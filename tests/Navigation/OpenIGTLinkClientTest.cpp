#include "Tracking/OpenIGTLinkClient.h"

#include "Navigation/NavigationTest.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QtEndian>
#include <QtNetwork/QTcpServer>
#include <QtNetwork/QTcpSocket>
#include <QtTest/QTest>

#include <atomic>
#include <igtlPointMessage.h>
#include <igtlTrackingDataMessage.h>
#include <igtlTransformMessage.h>
#include <igtl_util.h>

using namespace vlrTest;
using vlr::OpenIGTLinkClient;

namespace {

constexpr int patience = 20000; // milliseconds

QByteArray packed(igtl::MessageBase& message, const char* device) {
    message.SetDeviceName(device);
    message.Pack();
    return QByteArray(static_cast<const char*>(message.GetPackPointer()),
                      static_cast<int>(message.GetPackSize()));
}

struct Point {
    const char* name;
    float x, y, z;
};

QByteArray points(const std::vector<Point>& list, const char* device = "Pointer") {
    auto message = igtl::PointMessage::New();
    for (const Point& p : list) {
        auto point = igtl::PointElement::New();
        point->SetName(p.name);
        point->SetPosition(p.x, p.y, p.z);
        message->AddPointElement(point);
    }
    return packed(*message, device);
}

void putNumber(QByteArray& message, int at, quint64 number) {
    qToBigEndian(number, message.data() + at);
}

// The message as from version 2 on: an extended header of 12 bytes, the content, and meta data of
// 10 bytes of index and 10 of text. The published library here writes version 1 alone. A byte of
// the header may be spoilt; the checksum is that of the result, so nothing else is wrong then.
QByteArray withExtension(QByteArray message, int spoiltAt = -1) {
    message.insert(58, QByteArray("\0\x0c\0\x0a\0\0\0\x0a\0\0\0\x05", 12));
    message += QByteArray("\0\x01\0\x06\0\x03\0\0\0\x04"
                          "cameraleft",
                          20);
    message[1] = 2;
    if (spoiltAt >= 0)
        message[spoiltAt] = static_cast<char>(0xff);
    putNumber(message, 42, static_cast<quint64>(message.size() - 58));
    const auto crc = crc64(reinterpret_cast<unsigned char*>(message.data()) + 58,
                           static_cast<igtl_uint64>(message.size() - 58), crc64(nullptr, 0, 0));
    putNumber(message, 50, crc);
    return message;
}

QByteArray transform(float scale, float x = 7) {
    auto message = igtl::TransformMessage::New();
    igtl::Matrix4x4 matrix = {
        {0, -scale, 0, x}, {scale, 0, 0, 8}, {0, 0, scale, -900}, {0, 0, 0, 1}};
    message->SetMatrix(matrix);
    return packed(*message, "Drill");
}

QByteArray trackingData(float scale = 1) {
    auto message = igtl::TrackingDataMessage::New();
    for (const auto& [name, x] : {std::pair("Saw", 1.0F), std::pair("Awl", scale)}) {
        auto element = igtl::TrackingDataElement::New();
        element->SetName(name);
        element->SetType(igtl::TrackingDataElement::TYPE_6D);
        igtl::Matrix4x4 matrix = {{x, 0, 0, 1}, {0, 1, 0, 2}, {0, 0, 1, 3}, {0, 0, 0, 1}};
        element->SetMatrix(matrix);
        message->AddTrackingDataElement(element);
    }
    return packed(*message, "Camera");
}

// A header that announces `size` bytes.
QByteArray header(const QByteArray& type, quint64 size, int version = 1) {
    QByteArray bytes = points({}).left(58);
    bytes[1] = static_cast<char>(version);
    bytes.replace(2, 12, type.leftJustified(12, '\0'));
    putNumber(bytes, 42, size);
    return bytes;
}

QByteArray damaged(QByteArray message) {
    message[message.size() - 30] = static_cast<char>(message[message.size() - 30] ^ 0x10);
    return message;
}

class OpenIGTLinkClientTest : public testing::Test {
    CommandLine m_line;
    QCoreApplication m_application{m_line.count, m_line.words};

protected:
    OpenIGTLinkClientTest() {
        EXPECT_TRUE(server.listen(QHostAddress::LocalHost));
        options.host = QStringLiteral("127.0.0.1");
        options.port = server.serverPort();
        options.firstPause = std::chrono::milliseconds(1);
        options.longestPause = std::chrono::milliseconds(20);
    }

    void start(const std::vector<vlr::ToolGeometry>& tools = {}) {
        client = std::make_unique<OpenIGTLinkClient>(options, [this] {
            ++looksAtClock;
            return vlr::TrackingTime(std::chrono::seconds(seconds.load()));
        });
        client->setListener(collector);
        client->setTools(tools);
        ASSERT_EQ(client->start(), CaError::nullError);
        accept();
    }
    void accept() {
        ASSERT_TRUE(waitFor([this] { return server.hasPendingConnections(); }));
        peer = server.nextPendingConnection();
        ASSERT_TRUE(waitFor([this] { return client->latest()->isConnected; }));
    }
    bool waitFor(const std::function<bool()>& condition) {
        return QTest::qWaitFor(condition, patience);
    }
    bool waitForProblem(const char* text) {
        return waitFor([&] { return problem().find(text) != std::string::npos; });
    }
    bool waitForPoints(const std::string& tool, const Vector3d& first) {
        return waitFor([&] {
            const auto snapshot = client->latest();
            const auto found = snapshot->tools.find(tool);
            return found != snapshot->tools.end() && found->second.markers &&
                   !found->second.markers->markers.empty() &&
                   found->second.markers->markers[0] == first;
        });
    }
    bool waitForMeasurements(std::size_t count) {
        return waitFor([&] { return collector->measurements().size() >= count; });
    }
    std::string problem() { return client->latest()->problem; }

    QTcpServer server;
    OpenIGTLinkClient::Options options;
    std::atomic<int> seconds{100}; // the time
    std::atomic<int> looksAtClock{0};
    std::shared_ptr<Collector> collector = std::make_shared<Collector>();
    std::unique_ptr<OpenIGTLinkClient> client;
    QTcpSocket* peer = nullptr;
};

} // namespace

TEST_F(OpenIGTLinkClientTest, MarkersAndPosesArrive) {
    start();
    const QByteArray bytes = points({{"2", 1, 2, 3}, {"0", 4, 5, 6}}) + header("STATUS", 30) +
                             QByteArray(30, 'x') + transform(1) + trackingData() +
                             withExtension(points({{"0", 7, 8, 9}}, "Second")) +
                             points({}, "Empty") + withExtension(points({}, "Void"));
    for (const char byte : bytes) { // Messages may come in pieces.
        peer->write(&byte, 1);
        peer->flush();
    }
    ASSERT_TRUE(waitForMeasurements(7));
    ASSERT_TRUE(waitFor([this] { return client->latest()->tools.size() == 7; }));
    const auto snapshot = client->latest();
    EXPECT_TRUE(snapshot->isConnected);
    EXPECT_EQ(snapshot->problem, "");
    const auto markers = [&](const char* tool) {
        return snapshot->tools.at(tool).markers->markers;
    };
    EXPECT_THAT(markers("Pointer"),
                ElementsAre(Vector3d(4, 5, 6), testing::Truly(&vlr::isHidden), Vector3d(1, 2, 3)));
    EXPECT_THAT(markers("Second"), ElementsAre(Vector3d(7, 8, 9)));
    EXPECT_THAT(markers("Empty"), ElementsAre());
    EXPECT_THAT(markers("Void"), ElementsAre());
    const vlr::RigidTransform& drill = *snapshot->tools.at("Drill").pose->pose;
    EXPECT_EQ(drill * Vector3d(1, 2, 3), Vector3d(5, 9, -897));
    EXPECT_EQ(snapshot->tools.at("Awl").pose->pose->translation, Vector3d(1, 2, 3));
}

TEST_F(OpenIGTLinkClientTest, DamagedMessagesAreDroppedAndTheNextOnesRead) {
    start();
    const float infinite = std::numeric_limits<float>::infinity();
    const QByteArray good = points({{"0", 9, 9, 9}});
    const std::tuple<const char*, QByteArray, const char*> cases[] = {
        {"checksum", damaged(good), "checksum"},
        {"not finite", points({{"0", infinite, 9, 9}}), "damaged"},
        {"marker 32", points({{"32", 9, 9, 9}}), "damaged"},
        {"marker -1", points({{"-1", 9, 9, 9}}), "damaged"},
        {"no rotation", transform(2), "damaged"},
        {"nowhere", transform(1, infinite), "damaged"},
        {"a mirror", transform(-1), "damaged"},
        {"markers without a name", points({{"0", 9, 9, 9}}, ""), "POINT without a proper name"},
        {"a line break in a name", points({{"0", 9, 9, 9}}, "A\nB"), "without a proper name"},
        {"not UTF-8", points({{"0", 9, 9, 9}}, "A\xff"), "without a proper name"},
        {"the second no rotation", trackingData(2), "damaged"},
        {"the checksum of nothing", header("TDATA", 0), ""},
        {"a short extension", withExtension(good, 58), "damaged"},
        {"a huge text of meta data", withExtension(good, 62), "damaged"},
    };
    std::size_t measurements = 0;
    for (const auto& [what, bytes, told] : cases) {
        const auto value = static_cast<float>(++measurements);
        peer->write(bytes + points({{"0", value, 2, 3}}));
        EXPECT_TRUE(waitForPoints("Pointer", {static_cast<double>(value), 2, 3})) << what;
        EXPECT_EQ(collector->measurements().size(), measurements) << what;
        EXPECT_THAT(problem(), HasSubstr(told)) << what;
    }
    EXPECT_FALSE(server.hasPendingConnections()); // All of that on one connection.
}

TEST_F(OpenIGTLinkClientTest, APeerThatTalksNonsenseIsLeftAndTriedAgain) {
    options.firstPause = std::chrono::milliseconds(40); // Each good message brings it back to that.
    options.longestPause = std::chrono::hours(1);
    start();
    const quint64 huge = ~quint64(0);
    const std::tuple<const char*, QByteArray, const char*> cases[] = {
        {"another protocol", "HTTP/1.1 400 Bad Request\r\n" + QByteArray(100, ' '), "OpenIGTLink"},
        {"version 0", header("POINT", 136, 0), "OpenIGTLink"},
        {"type", header("PO\x01NT", 136), "OpenIGTLink"},
        {"over-long", header("POINT", (64 << 10) + 1), "65537 bytes"},
        {"endless", header("TRANSFORM", huge), "18446744073709551615 bytes"},
        {"endless, not ours", header("IMAGE", huge), "IMAGE"},
    };
    for (int i = 0; i < 2 * static_cast<int>(std::size(cases)); ++i) {
        const auto& [what, bytes, told] = cases[static_cast<std::size_t>(i) % std::size(cases)];
        peer->write(bytes);
        ASSERT_TRUE(waitForProblem(told)) << what;
        accept();
        peer->write(points({{"0", 1, 2, 3}}));
        EXPECT_TRUE(waitForPoints("Pointer", {1, 2, 3})) << what;
        EXPECT_EQ(problem(), "");
    }
}

TEST_F(OpenIGTLinkClientTest, APeerThatFallsSilentOrGoesIsTriedAgain) {
    options.silence = std::chrono::seconds(1);
    start();
    seconds += 1;
    ASSERT_TRUE(waitForProblem("says nothing"));
    accept();
    peer->write(points({{"0", 1, 2, 3}}));
    ASSERT_TRUE(waitForMeasurements(1));
    server.close(); // Else it would be back before anybody saw that it went.
    peer->abort();
    ASSERT_TRUE(waitFor([this] { return !client->latest()->isConnected; }));
    EXPECT_TRUE(client->latest()->tools.empty());
}

// A healthy tracker is not left: the time of silence begins with the last message.
TEST_F(OpenIGTLinkClientTest, EveryGoodMessageBreaksTheSilence) {
    options.silence = std::chrono::seconds(3);
    start();
    seconds += 2;
    peer->write(points({{"0", 1, 2, 3}}));
    ASSERT_TRUE(waitForMeasurements(1));
    seconds += 2;
    const int looks = looksAtClock; // A few are still made for the message.
    ASSERT_TRUE(waitFor([&] { return looksAtClock > looks + 6; }));
    EXPECT_EQ(problem(), "");
    seconds += 3;
    ASSERT_TRUE(waitForProblem("says nothing"));
}

TEST_F(OpenIGTLinkClientTest, KnownToolsAlwaysHaveAPlace) {
    const auto send = [&](const std::string& tool) {
        peer->write(points({{"0", 1, 2, 3}}, tool.c_str()));
    };
    start({fourMarkers("Pointer"), fourMarkers("Drill")});
    send("Pointer");
    for (int i = 0; i < 65; ++i)
        send("Foreign" + std::to_string(i));
    send("Drill");
    ASSERT_TRUE(waitForPoints("Drill", {1, 2, 3}));
    const auto snapshot = client->latest();
    EXPECT_EQ(snapshot->tools.size(), 66U);
    EXPECT_THAT(snapshot->tools, AllOf(Contains(Key("Pointer")), Contains(Key("Foreign64"))));
    EXPECT_THAT(snapshot->problem, HasSubstr("more than 64 tools"));
}

TEST_F(OpenIGTLinkClientTest, AProblemIsOverWhenGoodMessagesFollow) {
    start();
    peer->write(points({{"0", 1, 0, 0}}) + damaged(points({{"0", 9, 9, 9}})));
    ASSERT_TRUE(waitForProblem("checksum"));
    seconds += 2;
    peer->write(points({{"0", 2, 0, 0}}));
    ASSERT_TRUE(waitForPoints("Pointer", {2, 0, 0}));
    EXPECT_NE(problem(), ""); // It can still be read.
    seconds += 1;
    peer->write(header("STATUS", 0)); // Good, though of no interest.
    ASSERT_TRUE(waitFor([this] { return problem().empty(); }));
    EXPECT_EQ(client->latest()->problemKind, "");

    peer->abort();
    ASSERT_TRUE(waitFor([this] { return collector->conditions().size() >= 4; }));
    client->stop();
    std::vector<std::string> told;
    for (const auto& condition : collector->conditions())
        told.push_back((condition.isConnected ? "+" : "-") + condition.problemKind);
    told.resize(4);
    EXPECT_THAT(told, ElementsAre("+", "+checksum", "+", "-unreachable"));
}

TEST_F(OpenIGTLinkClientTest, AFloodCanBeStopped) {
    start();
    const QByteArray flood = points({{"0", 1, 0, 0}}).repeated(1000);
    bool isFlooding = true;
    QObject::connect(peer, &QTcpSocket::bytesWritten, peer, [&] {
        if (isFlooding && peer->bytesToWrite() < flood.size())
            peer->write(flood);
    });
    peer->write(flood);
    EXPECT_TRUE(waitForMeasurements(5000));
    client->stop(); // in the middle of it
    isFlooding = false;
    EXPECT_FALSE(client->latest()->isConnected);
    EXPECT_TRUE(client->latest()->tools.empty());
}
