#include "Tracking/OpenIGTLinkClient.h"

#include "Navigation/NavigationTest.h"
#include "Tracking/RetryPauses.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QtEndian>
#include <QtNetwork/QTcpServer>
#include <QtNetwork/QTcpSocket>
#include <QtTest/QTest>

#include <atomic>
#include <gtest/gtest.h>
#include <igtlPointMessage.h>
#include <igtlTrackingDataMessage.h>
#include <igtlTransformMessage.h>
#include <igtl_util.h>
#include <limits>

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

void putChecksum(QByteArray& message) {
    const auto crc = crc64(reinterpret_cast<unsigned char*>(message.data()) + 58,
                           static_cast<igtl_uint64>(message.size() - 58), crc64(nullptr, 0, 0));
    putNumber(message, 50, crc);
}

// The message as from version 2 on: an extended header of 12 bytes, the content, and meta data of
// 10 bytes of index and 10 of text. The published library here writes version 1 alone.
QByteArray withExtension(QByteArray message) {
    message.insert(58, QByteArray("\0\x0c\0\x0a\0\0\0\x0a\0\0\0\x05", 12));
    message += QByteArray("\0\x01\0\x06\0\x03\0\0\0\x04"
                          "cameraleft",
                          20);
    message[1] = 2;
    putNumber(message, 42, static_cast<quint64>(message.size() - 58));
    putChecksum(message);
    return message;
}

QByteArray transform(float scale, const char* device = "Drill") {
    auto message = igtl::TransformMessage::New();
    igtl::Matrix4x4 matrix = {
        {0, -scale, 0, 7}, {scale, 0, 0, 8}, {0, 0, scale, -900}, {0, 0, 0, 1}};
    message->SetMatrix(matrix);
    return packed(*message, device);
}

QByteArray trackingData(const char* second = "Awl", float scale = 1) {
    auto message = igtl::TrackingDataMessage::New();
    for (const char* name : {"Saw", second}) {
        auto element = igtl::TrackingDataElement::New();
        element->SetName(name);
        element->SetType(igtl::TrackingDataElement::TYPE_6D);
        const float x = name == second ? scale : 1;
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
    int m_argc = 1;
    char m_name[5] = "igtl";
    char* m_argv[2] = {m_name, nullptr};
    QCoreApplication m_application{m_argc, m_argv};

protected:
    OpenIGTLinkClientTest() {
        EXPECT_TRUE(server.listen(QHostAddress::LocalHost));
        options.host = QStringLiteral("127.0.0.1");
        options.port = server.serverPort();
        options.firstPause = std::chrono::milliseconds(1);
        options.longestPause = std::chrono::milliseconds(20);
    }

    void start() {
        client = std::make_unique<OpenIGTLinkClient>(options);
        client->setListener(collector);
        ASSERT_EQ(client->start(), CaError::nullError);
        accept();
    }
    void accept() {
        ASSERT_TRUE(waitFor([this] { return server.hasPendingConnections(); }));
        peer = server.nextPendingConnection();
    }
    bool waitFor(const std::function<bool()>& condition) {
        return QTest::qWaitFor(condition, patience);
    }
    bool waitForProblem(const char* text) {
        return waitFor([&] { return client->latest()->problem.find(text) != std::string::npos; });
    }
    bool hasPoints(const std::string& tool, const Vector3d& first) {
        const auto snapshot = client->latest();
        const auto found = snapshot->tools.find(tool);
        return found != snapshot->tools.end() && found->second.markers &&
               !found->second.markers->markers.empty() &&
               found->second.markers->markers[0] == first;
    }

    QTcpServer server;
    OpenIGTLinkClient::Options options;
    std::shared_ptr<Collector> collector = std::make_shared<Collector>();
    std::unique_ptr<OpenIGTLinkClient> client;
    QTcpSocket* peer = nullptr;
};

} // namespace

TEST_F(OpenIGTLinkClientTest, MarkersAndPosesArrive) {
    start();
    peer->write(points({{"2", 1, 2, 3}, {"0", 4, 5, 6}}) + header("STATUS", 30) +
                QByteArray(30, 'x') + transform(1) + trackingData() +
                withExtension(points({{"0", 7, 8, 9}}, "Second")) + points({}, "Empty"));
    ASSERT_TRUE(waitFor([this] { return client->latest()->tools.size() == 6; }));
    const auto snapshot = client->latest();
    EXPECT_TRUE(snapshot->isConnected);
    EXPECT_EQ(snapshot->problem, "");
    const auto& markers = snapshot->tools.at("Pointer").markers->markers;
    ASSERT_EQ(markers.size(), 3U);
    EXPECT_EQ(markers[0], Vector3d(4, 5, 6));
    EXPECT_TRUE(vlr::isHidden(markers[1]));
    EXPECT_EQ(markers[2], Vector3d(1, 2, 3));
    EXPECT_EQ(snapshot->tools.at("Second").markers->markers[0], Vector3d(7, 8, 9));
    EXPECT_TRUE(snapshot->tools.at("Empty").markers->markers.empty());
    const vlr::RigidTransform& drill = *snapshot->tools.at("Drill").pose->pose;
    EXPECT_EQ(drill * Vector3d(1, 2, 3), Vector3d(5, 9, -897));
    EXPECT_EQ(snapshot->tools.at("Awl").pose->pose->translation, Vector3d(1, 2, 3));
    EXPECT_EQ(collector->measurements().size(), 6U);
}

TEST_F(OpenIGTLinkClientTest, MessagesMayComeInPieces) {
    start();
    const QByteArray bytes = points({{"0", 4, 5, 6}}, "Other") + points({{"0", 1, 2, 3}});
    for (int i = 0; i < bytes.size(); ++i) {
        peer->write(bytes.constData() + i, 1);
        peer->flush();
    }
    EXPECT_TRUE(waitFor([this] { return hasPoints("Pointer", {1, 2, 3}); }));
    EXPECT_TRUE(hasPoints("Other", {4, 5, 6}));
}

TEST_F(OpenIGTLinkClientTest, DamagedMessagesAreDroppedAndTheNextOnesRead) {
    start();
    const float infinite = std::numeric_limits<float>::infinity();
    std::vector<Point> many;
    for (int i = 0; i < 40; ++i)
        many.push_back({"0", 1, 1, 1});
    const struct {
        const char* what;
        QByteArray bytes;
        const char* problem;
    } cases[] = {
        {"checksum", damaged(points({{"0", 9, 9, 9}})), "checksum"},
        {"not finite", points({{"0", infinite, 9, 9}}), "damaged"},
        {"marker 32", points({{"32", 9, 9, 9}}), "damaged"},
        {"marker -1", points({{"-1", 9, 9, 9}}), "damaged"},
        {"marker by name", points({{"tip", 9, 9, 9}}), "damaged"},
        {"too many", points(many), "damaged"},
        {"no rotation", transform(2), "damaged"},
        {"a mirror", transform(-1), "damaged"},
        {"markers without a name", points({{"0", 9, 9, 9}}, ""), "POINT without a proper name"},
        {"a pose without a name", transform(1, ""), "TRANSFORM without a proper name"},
        {"a line break in a name", points({{"0", 9, 9, 9}}, "A\nB"), "without a proper name"},
        {"an escape in a name", points({{"0", 9, 9, 9}}, "\x1b[2J"), "without a proper name"},
        {"not UTF-8", points({{"0", 9, 9, 9}}, "A\xff"), "without a proper name"},
        {"the second nameless", trackingData(""), "damaged"},
        {"the second no rotation", trackingData("Awl", 2), "damaged"},
        {"the checksum of nothing", header("TDATA", 0), nullptr},
    };
    float value = 0;
    for (const auto& c : cases) {
        const std::size_t before = collector->measurements().size();
        value += 1;
        peer->write(c.bytes + points({{"0", value, 2, 3}}));
        EXPECT_TRUE(waitFor([&] {
            return hasPoints("Pointer", {static_cast<double>(value), 2, 3});
        })) << c.what;
        EXPECT_EQ(collector->measurements().size(), before + 1) << c.what;
        if (c.problem) {
            EXPECT_NE(client->latest()->problem.find(c.problem), std::string::npos) << c.what;
        }
    }
    EXPECT_FALSE(server.hasPendingConnections()); // All of that on one connection.
}

TEST_F(OpenIGTLinkClientTest, APeerThatTalksNonsenseIsLeftAndTriedAgain) {
    start();
    const quint64 huge = ~quint64(0);
    const struct {
        const char* what;
        QByteArray bytes;
        const char* problem;
    } cases[] = {
        {"another protocol", "HTTP/1.1 400 Bad Request\r\n" + QByteArray(100, ' '), "OpenIGTLink"},
        {"version 0", header("POINT", 136, 0), "OpenIGTLink"},
        {"version 9", header("POINT", 136, 9), "OpenIGTLink"},
        {"type", header("PO\x01NT", 136), "OpenIGTLink"},
        {"over-long", header("POINT", (64 << 10) + 1), "65537 bytes"},
        {"endless", header("TRANSFORM", huge), "18446744073709551615 bytes"},
        {"endless, not ours", header("IMAGE", huge), "IMAGE"},
    };
    for (const auto& c : cases) {
        peer->write(c.bytes);
        ASSERT_TRUE(waitForProblem(c.problem)) << c.what;
        accept();
        peer->write(points({{"0", 1, 2, 3}}));
        EXPECT_TRUE(waitFor([this] { return hasPoints("Pointer", {1, 2, 3}); })) << c.what;
        EXPECT_EQ(client->latest()->problem, "");
    }
}

TEST_F(OpenIGTLinkClientTest, ExtendedHeadersThatDoNotFitAreDamage) {
    start();
    // The sizes are part of the body, so the checksum is made anew: nothing else may be wrong.
    const QByteArray good = withExtension(points({{"0", 1, 2, 3}}));
    for (const int at : {58, 60, 62, 65}) {
        QByteArray bytes = good;
        bytes[at] = static_cast<char>(0xff);
        putChecksum(bytes);
        peer->write(bytes + points({{"0", static_cast<float>(at), 0, 0}}, "Next"));
        EXPECT_TRUE(waitFor([&] { return hasPoints("Next", {static_cast<double>(at), 0, 0}); }));
        EXPECT_NE(client->latest()->problem.find("damaged"), std::string::npos);
        EXPECT_EQ(client->latest()->tools.count("Pointer"), 0U) << at;
    }
}

TEST_F(OpenIGTLinkClientTest, APeerThatFallsSilentOrGoesIsTriedAgain) {
    options.silence = std::chrono::milliseconds(50);
    start();
    ASSERT_TRUE(waitFor(
        [this] { return client->latest()->problem.find("says nothing") != std::string::npos; }));
    accept();
    peer->write(points({{"0", 1, 2, 3}}));
    ASSERT_TRUE(waitFor([this] { return collector->measurements().size() == 1; }));
    peer->abort();
    ASSERT_TRUE(waitFor([this] { return !client->latest()->isConnected; }));
    EXPECT_TRUE(client->latest()->tools.empty());

    const quint16 port = server.serverPort();
    server.close();
    ASSERT_TRUE(waitFor([this] {
        return client->latest()->problem.find("cannot be reached") != std::string::npos;
    }));
    ASSERT_TRUE(server.listen(QHostAddress::LocalHost, port));
    accept();
    peer->write(points({{"0", 4, 5, 6}}));
    EXPECT_TRUE(waitFor([this] { return collector->measurements().size() == 2; }));
}

TEST(RetryPauses, PausesBetweenAttemptsGrowUpToTheLongest) {
    const struct {
        int first, longest; // milliseconds
        std::vector<int> pauses;
    } cases[] = {
        {4, 32, {4, 8, 16, 32, 32, 32}},
        {100, 5000, {100, 200, 400, 800, 1600, 3200, 5000, 5000}},
        {10, 5, {5, 5}},
    };
    for (const auto& c : cases) {
        vlr::RetryPauses pauses{std::chrono::milliseconds(c.first),
                                std::chrono::milliseconds(c.longest)};
        for (int round = 0; round < 2; ++round) {
            for (const int pause : c.pauses)
                EXPECT_EQ(pauses.next(), std::chrono::milliseconds(pause)) << c.first;
            pauses.reset();
        }
    }
}

TEST_F(OpenIGTLinkClientTest, KnownToolsAlwaysHaveAPlace) {
    const auto name = [](int i) { return "Foreign" + std::to_string(i); };
    const auto send = [&](const std::string& tool) {
        peer->write(points({{"0", 1, 2, 3}}, tool.c_str()));
    };
    client = std::make_unique<OpenIGTLinkClient>(options);
    client->setTools({fourMarkers("Pointer"), fourMarkers("Drill")});
    ASSERT_EQ(client->start(), CaError::nullError);
    accept();
    for (int i = 0; i < 64; ++i)
        send(name(i));
    send("Pointer");
    ASSERT_TRUE(waitFor([&] { return hasPoints("Pointer", {1, 2, 3}); }));
    EXPECT_EQ(client->latest()->problem, "");
    send(name(0)); // so that the second is the one not seen for longest
    send(name(64));
    send("Drill");
    ASSERT_TRUE(waitFor([&] { return hasPoints("Drill", {1, 2, 3}); }));
    const auto snapshot = client->latest();
    EXPECT_EQ(snapshot->tools.size(), 66U);
    for (const auto& [tool, isKept] : {std::make_pair(name(0), true),
                                       {name(1), false},
                                       {name(2), true},
                                       {name(64), true},
                                       {"Pointer", true}})
        EXPECT_EQ(snapshot->tools.count(tool) > 0, isKept) << tool;
    EXPECT_NE(snapshot->problem.find("more than 64 tools"), std::string::npos);
    EXPECT_EQ(snapshot->problemKind, "names");

    const auto extra = fourMarkers("Extra"); // It gets to be known while the tracker is read.
    client->setTools({fourMarkers("Pointer"), fourMarkers("Drill"), extra});
    send("Extra");
    ASSERT_TRUE(waitFor([&] { return hasPoints("Extra", {1, 2, 3}); }));
    EXPECT_EQ(client->latest()->tools.size(), 67U);
}

TEST_F(OpenIGTLinkClientTest, AProblemIsOverWhenGoodMessagesFollow) {
    const auto seconds = std::make_shared<std::atomic<int>>(100);
    client = std::make_unique<OpenIGTLinkClient>(
        options, [seconds] { return vlr::TrackingTime(std::chrono::seconds(seconds->load())); });
    client->setListener(collector);
    ASSERT_EQ(client->start(), CaError::nullError);
    accept();
    peer->write(points({{"0", 1, 0, 0}}) + damaged(points({{"0", 9, 9, 9}})));
    ASSERT_TRUE(waitForProblem("checksum"));
    *seconds += 2;
    peer->write(points({{"0", 2, 0, 0}}));
    ASSERT_TRUE(waitFor([this] { return hasPoints("Pointer", {2, 0, 0}); }));
    EXPECT_NE(client->latest()->problem, ""); // It can still be read.
    *seconds += 1;
    peer->write(points({{"0", 3, 0, 0}}));
    ASSERT_TRUE(waitFor([this] { return hasPoints("Pointer", {3, 0, 0}); }));
    EXPECT_EQ(client->latest()->problem, "");
    EXPECT_EQ(client->latest()->problemKind, "");

    peer->abort();
    ASSERT_TRUE(waitFor([this] { return collector->conditions().size() >= 4; }));
    client->stop();
    std::vector<std::string> told;
    for (const auto& condition : collector->conditions())
        told.push_back((condition.isConnected ? "+" : "-") + condition.problemKind);
    told.resize(4);
    EXPECT_EQ(told, (std::vector<std::string>{"+", "+checksum", "+", "-unreachable"}));
}

TEST_F(OpenIGTLinkClientTest, AFloodIsReadAndCanBeStopped) {
    start();
    QByteArray flood;
    for (int i = 0; i < 1000; ++i) // of tools that nobody knows, too
        flood +=
            points({{"0", static_cast<float>(i), 0, 0}}, ("Tool" + std::to_string(i)).c_str()) +
            points({{"0", static_cast<float>(i), 0, 0}});
    peer->write(flood);
    EXPECT_TRUE(waitFor([this] { return collector->measurements().size() == 2000; }));
    EXPECT_EQ(client->latest()->tools.size(), 64U);
    client->stop();
    EXPECT_FALSE(client->latest()->isConnected);

    collector = std::make_shared<Collector>();
    start();
    bool isFlooding = true;
    QObject::connect(peer, &QTcpSocket::bytesWritten, peer, [&] {
        if (isFlooding && peer->bytesToWrite() < flood.size())
            peer->write(flood);
    });
    peer->write(flood);
    EXPECT_TRUE(waitFor([this] { return collector->measurements().size() > 5000; }));
    client->stop(); // in the middle of it
    isFlooding = false;
    EXPECT_TRUE(client->latest()->tools.empty());
}
