#include "Navigation/NavigationTest.h"
#include "Tracking/BackgroundWriter.h"
#include "Tracking/RecordingPlayer.h"
#include "Tracking/SimulatedCamera.h"
#include "Tracking/TrackingRecorder.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtTest/QTest>

#include <future>
#include <gtest/gtest.h>
#include <limits>

using namespace vlrTest;
using vlr::RecordingPlayer;
using vlr::TrackingRecorder;

namespace {

constexpr int patience = 60000; // milliseconds

vlr::TrackingMeasurement pose(vlr::TrackingTime time) {
    vlr::TrackingMeasurement measurement;
    measurement.tool = "Drill 2 \xc3\xa4%";
    measurement.time = time;
    vlr::RigidTransform transform;
    transform.rotation << 0, -1, 0, 1, 0, 0, 0, 0, 1;
    transform.translation = Vector3d(1.0 / 3.0, -1e-17, -1234.5678901234567);
    measurement.pose = transform;
    return measurement;
}

// Ten pictures of a simulated camera and a pose; what was recorded, in order.
std::vector<vlr::TrackingMeasurement> record(const QString& path) {
    HandClock time;
    const auto recorder = std::make_shared<TrackingRecorder>(path);
    EXPECT_EQ(recorder->open(), CaError::nullError);
    const auto collector = std::make_shared<Collector>();
    vlr::SimulatedCamera::Options options;
    vlr::SimulatedCamera camera(options, time.clock());
    camera.setTools({fourMarkers()});
    camera.setListener(collector);
    (void)camera.start();
    for (int i = 0; i < 10; ++i) {
        (void)camera.latest();
        time.advance(std::chrono::milliseconds(250));
    }
    collector->received(pose(time.clock()()));
    for (const auto& measurement : collector->measurements())
        recorder->received(measurement);
    EXPECT_EQ(recorder->close(), CaError::nullError);
    return collector->measurements();
}

void expectSame(const std::vector<vlr::TrackingMeasurement>& played,
                const std::vector<vlr::TrackingMeasurement>& recorded) {
    ASSERT_EQ(played.size(), recorded.size());
    for (std::size_t i = 0; i < played.size(); ++i) {
        EXPECT_EQ(played[i].tool, recorded[i].tool);
        EXPECT_EQ(played[i].markers, recorded[i].markers); // to the last bit
        ASSERT_EQ(played[i].pose.has_value(), recorded[i].pose.has_value());
        if (played[i].pose) {
            EXPECT_EQ(played[i].pose->rotation, recorded[i].pose->rotation);
            EXPECT_EQ(played[i].pose->translation, recorded[i].pose->translation);
        }
    }
}

class RecordingTest : public testing::Test {
    int m_argc = 1;
    char m_name[10] = "Recording";
    char* m_argv[2] = {m_name, nullptr};
    QCoreApplication m_application{m_argc, m_argv};

protected:
    // What a player hands on that comes to the end of the file without a problem.
    std::shared_ptr<Collector> playToTheEnd() const {
        const auto collector = std::make_shared<Collector>();
        RecordingPlayer player(path, RecordingPlayer::Fast);
        player.setListener(collector);
        EXPECT_EQ(player.start(), CaError::nullError);
        EXPECT_TRUE(QTest::qWaitFor([&] { return player.hasEnded(); }, patience));
        EXPECT_EQ(player.latest()->problem, "");
        EXPECT_TRUE(player.latest()->hasEnded);
        return collector;
    }

    QString path = testFolder() + QStringLiteral("/a case.track");
};

} // namespace

TEST_F(RecordingTest, WhatWasRecordedIsPlayedBackToTheLastBit) {
    const auto recorded = record(path);
    ASSERT_GT(recorded.size(), 10U);
    RecordingPlayer player(path, RecordingPlayer::Fast);
    for (int round = 0; round < 2; ++round) { // It can be started again.
        const auto collector = std::make_shared<Collector>();
        player.setListener(collector);
        ASSERT_EQ(player.start(), CaError::nullError);
        EXPECT_TRUE(QTest::qWaitFor([&] { return player.hasEnded(); }, patience));
        expectSame(collector->measurements(), recorded);
        EXPECT_EQ(player.latest()->problem, "");
        EXPECT_FALSE(player.latest()->isConnected);
        player.stop();
    }
}

TEST_F(RecordingTest, ItsOwnPaceKeepsThePauses) {
    const auto recorded = record(path);
    const auto collector = std::make_shared<Collector>();
    const auto begin = std::chrono::steady_clock::now();
    RecordingPlayer player(path, RecordingPlayer::Own);
    player.setListener(collector);
    ASSERT_EQ(player.start(), CaError::nullError);
    EXPECT_TRUE(QTest::qWaitFor([&] { return collector->measurements().size() >= 3; }, patience));
    const auto played = collector->measurements();
    EXPECT_GE(played[2].time - begin, std::chrono::milliseconds(500));
    EXPECT_TRUE(player.latest()->isConnected);
    EXPECT_FALSE(player.hasEnded());
    player.stop(); // does not wait for the rest
    EXPECT_LT(collector->measurements().size(), recorded.size());
    EXPECT_FALSE(player.latest()->isConnected);
}

TEST_F(RecordingTest, DamagedRecordingsEndAtTheDamage) {
    const QByteArray header = "vlr-tracking 1\n";
    const QByteArray good = "0 markers A 1 2 -3.5 -\n";
    const struct {
        const char* what;
        QByteArray bytes;
        const char* problem;
        std::size_t played;
    } cases[] = {
        {"empty", header, "", 0},
        {"good", header + good, "", 1},
        {"cut off", header + good + "5 markers A 1 2", "line 3: it is cut off", 1},
        {"endless line", header + good + QByteArray(1000000, '1'), "line 3: it is too long", 1},
        {"no time", header + "now markers A -\n", "time", 0},
        {"negative", header + "-5 markers A -\n", "time", 0},
        {"after the end of days", header + "9223372036854775807 markers A -\n", "time", 0},
        {"back in time", header + "5 markers A -\n4 markers A -\n", "line 3: its time", 1},
        {"no tool", header + "0 markers\n", "no tool", 0},
        {"another kind", header + "0 colours A 1 2 3\n", "neither", 0},
        {"half a marker", header + "0 markers A 1 2\n", "neither", 0},
        {"nan", header + "0 markers A 1 nan 2\n", "neither", 0},
        {"inf", header + "0 pose A 1 0 0 0 1 0 0 0 1 inf 0 0\n", "neither", 0},
        {"short pose", header + "0 pose A 1 0 0\n", "neither", 0},
        {"many markers", header + "0 markers A" + QByteArray(" -").repeated(33) + "\n", "neither",
         0},
        {"NUL", header + QByteArray("0 markers A\0 -\n", 15), "no tool", 0},
        {"empty name", header + "0 markers  -\n", "no tool", 0},
        {"line break in name", header + "0 markers A%0AB -\n", "no tool", 0},
        {"long name", header + "0 markers " + QByteArray(65, 'a') + " -\n", "no tool", 0},
        {"state", header + "0 state disconnected\n" + good, "", 1},
        {"another state", header + good + "0 state sleepy\n", "line 3: it does not tell", 1},
        {"half a problem", header + "0 state connected damage\n", "does not tell", 0},
    };
    for (const auto& c : cases) {
        writeFile(path, c.bytes);
        const auto collector = std::make_shared<Collector>();
        RecordingPlayer player(path, RecordingPlayer::Fast);
        player.setListener(collector);
        ASSERT_EQ(player.start(), CaError::nullError) << c.what;
        EXPECT_TRUE(QTest::qWaitFor([&] { return player.hasEnded(); }, patience)) << c.what;
        EXPECT_EQ(collector->measurements().size(), c.played) << c.what;
        const std::string problem = player.latest()->problem;
        EXPECT_NE(problem.find(c.problem), std::string::npos) << c.what << ": " << problem;
        EXPECT_EQ(problem.empty(), *c.problem == '\0') << c.what << ": " << problem;
        EXPECT_TRUE(problem.empty() || problem.find("a case.track") != std::string::npos);
    }
    for (const QByteArray& bytes : {QByteArray(), QByteArray("vlr-tracking 2\n"),
                                    QByteArray(100000, 'x'), header.chopped(1)}) {
        writeFile(path, bytes);
        const CaError error = RecordingPlayer(path, RecordingPlayer::Fast).start();
        EXPECT_NE(error.text().find("a case.track"), std::string::npos) << error;
        EXPECT_NE(error.text().find("not a recording"), std::string::npos) << error;
    }
    EXPECT_FALSE(RecordingPlayer(testFolder(), RecordingPlayer::Fast).start().isNull());
}

TEST_F(RecordingTest, RecordingEndsAtItsLimitAndOnAFullDiskAndSaysSo) {
    const auto line = [](TrackingRecorder& recorder, int times) {
        for (int i = 0; i < times; ++i)
            recorder.received(pose(vlr::TrackingTime()));
        return recorder.close();
    };
    TrackingRecorder limited(path, 1000);
    ASSERT_EQ(limited.open(), CaError::nullError);
    const CaError full = line(limited, 100);
    EXPECT_NE(full.text().find("a case.track"), std::string::npos) << full;
    EXPECT_NE(full.text().find("1000 bytes"), std::string::npos) << full;
    EXPECT_LE(readFile(path).size(), 1000);
    RecordingPlayer player(path, RecordingPlayer::Fast);
    ASSERT_EQ(player.start(), CaError::nullError);
    EXPECT_TRUE(QTest::qWaitFor([&] { return player.hasEnded(); }, patience));
    EXPECT_EQ(player.latest()->problem, "");

    EXPECT_FALSE(TrackingRecorder(path).open().isNull()); // It exists: nothing is overwritten.
    TrackingRecorder unlucky(path + QStringLiteral("2"));
    ASSERT_EQ(unlucky.open(), CaError::nullError);
    {
        const FullDisk disk(500);
        for (int i = 0; i < 100; ++i)
            unlucky.received(pose(vlr::TrackingTime()));
        // It is told before anybody closes.
        EXPECT_TRUE(QTest::qWaitFor([&] { return !unlucky.error().isNull(); }, patience));
        EXPECT_NE(unlucky.close().text().find("a case.track2"), std::string::npos);
    }
    RecordingPlayer rest(path + QStringLiteral("2"), RecordingPlayer::Fast);
    ASSERT_EQ(rest.start(), CaError::nullError);
    EXPECT_TRUE(QTest::qWaitFor([&] { return rest.hasEnded(); }, patience));
    EXPECT_EQ(rest.latest()->problem, ""); // no half line
}

TEST_F(RecordingTest, AFullRecordingSaysSoBeforeItIsClosed) {
    TrackingRecorder recorder(path, 100);
    ASSERT_EQ(recorder.open(), CaError::nullError);
    EXPECT_TRUE(recorder.error().isNull());
    recorder.received(pose(vlr::TrackingTime()));
    EXPECT_NE(recorder.error().text().find("100 bytes"), std::string::npos);
}

TEST_F(RecordingTest, LostConnectionsAndProblemsArePlayedBack) {
    const std::string line = "a \xc3\xa4%\nb";
    const std::vector<vlr::TrackingCondition> conditions{{true, "", ""},
                                                         {true, "a message is damaged", "damage"},
                                                         {false, line, "left"},
                                                         {true, std::string(100000, 'x'), ""}};
    TrackingRecorder recorder(path);
    ASSERT_EQ(recorder.open(), CaError::nullError);
    const vlr::TrackingTime begin(std::chrono::hours(5));
    for (const auto& condition : conditions) {
        recorder.conditionChanged(condition, begin);
        recorder.received(pose(begin - std::chrono::seconds(1))); // taken in another thread
    }
    ASSERT_EQ(recorder.close(), CaError::nullError);

    const auto collector = playToTheEnd();
    EXPECT_EQ(collector->measurements().size(), 4U);
    const auto played = collector->conditions();
    ASSERT_EQ(played.size(), 4U);
    EXPECT_TRUE(played[0] == conditions[0]);
    EXPECT_TRUE(played[1] == conditions[1]);
    EXPECT_FALSE(played[2].isConnected);
    EXPECT_EQ(played[2].problem, "a \xc3\xa4%?b");
    EXPECT_TRUE(played[3].isConnected);
    EXPECT_EQ(played[3].problem, std::string(500, 'x'));
}

TEST_F(RecordingTest, APlaybackLosesTheConnectionAsTheTrackerDid) {
    writeFile(path, "vlr-tracking 1\n0 markers A 1 2 3\n"
                    "0 state disconnected silent it%0Asays%20nothing\n"
                    "2000000000 state connected\n");
    RecordingPlayer player(path, RecordingPlayer::Own);
    ASSERT_EQ(player.start(), CaError::nullError);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !player.latest()->problem.empty(); }, patience));
    EXPECT_FALSE(player.latest()->isConnected);
    EXPECT_EQ(player.latest()->problem, "it?says nothing");
    EXPECT_EQ(player.latest()->problemKind, "silent");
    EXPECT_TRUE(player.latest()->tools.empty());
    EXPECT_FALSE(player.hasEnded());
}

TEST_F(RecordingTest, WhatNoPlayerWouldAcceptIsLeftOut) {
    TrackingRecorder recorder(path);
    ASSERT_EQ(recorder.open(), CaError::nullError);
    std::vector<vlr::TrackingMeasurement> bad(4, pose({}));
    bad[0].tool = "";
    bad[1].tool = "A\nB";
    bad[2].pose->translation.x() = std::numeric_limits<double>::infinity();
    bad[3].pose.reset();
    bad[3].markers.resize(33, Vector3d::Zero());
    for (const auto& measurement : bad)
        recorder.received(measurement);
    recorder.received(pose({}));
    ASSERT_EQ(recorder.close(), CaError::nullError);
    const auto collector = playToTheEnd();
    expectSame(collector->measurements(), {pose({})});
}

TEST(BackgroundWriter, NobodyWaitsForTheDiskAndWhatWaitsIsBounded) {
    std::promise<void> begun;
    std::promise<void> disk;
    QByteArray written;
    {
        vlr::BackgroundWriter writer([&](const QByteArray& bytes) {
            if (written.isEmpty()) {
                begun.set_value();
                disk.get_future().wait();
            }
            written += bytes;
            return true;
        });
        EXPECT_TRUE(writer.write("first "));
        begun.get_future().wait();
        EXPECT_TRUE(writer.write("second "));
        const QByteArray much(vlr::BackgroundWriter::mostWaiting - 7, 'x');
        EXPECT_TRUE(writer.write(much));
        EXPECT_FALSE(writer.write("!"));
        disk.set_value();
    }
    EXPECT_EQ(written.left(13), "first second ");
    EXPECT_EQ(written.size(), vlr::BackgroundWriter::mostWaiting + 6);
}
