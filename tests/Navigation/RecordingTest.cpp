#include "Navigation/NavigationTest.h"
#include "Tracking/BackgroundWriter.h"
#include "Tracking/RecordingPlayer.h"
#include "Tracking/TrackingRecorder.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtTest/QTest>

#include <future>

using namespace vlrTest;
using vlr::RecordingPlayer;
using vlr::TrackingRecorder;

namespace {

constexpr int patience = 60000; // milliseconds

vlr::TrackingMeasurement pose(vlr::TrackingTime time = {}) {
    vlr::TrackingMeasurement measurement;
    measurement.tool = "Drill 2 \xc3\xa4%";
    measurement.time = time;
    vlr::RigidTransform transform;
    transform.rotation << 0, -1, 0, 1, 0, 0, 0, 0, 1;
    transform.translation = Vector3d(1.0 / 3.0, -1e-17, -1234.5678901234567);
    measurement.pose = transform;
    return measurement;
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

struct Playback {
    std::vector<vlr::TrackingMeasurement> measurements;
    std::vector<vlr::TrackingCondition> conditions;
    std::string problem;
};

// Whatever comes, as fast as it can be read, until the player has ended.
Playback playToTheEnd(const QString& path) {
    RecordingPlayer player(path, RecordingPlayer::Fast);
    const auto collector = std::make_shared<Collector>();
    player.setListener(collector);
    EXPECT_EQ(player.start(), CaError::nullError);
    EXPECT_TRUE(QTest::qWaitFor([&] { return player.hasEnded(); }, patience));
    EXPECT_TRUE(player.latest()->hasEnded);
    EXPECT_FALSE(player.latest()->isConnected);
    return {collector->measurements(), collector->conditions(), player.latest()->problem};
}

class RecordingTest : public testing::Test {
    CommandLine m_line;
    QCoreApplication m_application{m_line.count, m_line.words};

protected:
    QString path = testFolder() + QStringLiteral("/a case.track");
};

} // namespace

TEST_F(RecordingTest, WhatWasRecordedIsPlayedBackToTheLastBit) {
    vlr::TrackingMeasurement markers;
    markers.tool = "Pointer";
    markers.markers = {{100.0 / 7.0, -1e-300, 0}, vlr::hiddenPosition(), {-0.1, 0.2, -1.0 / 3.0}};
    const std::vector<vlr::TrackingMeasurement> recorded{markers, pose(), markers};
    TrackingRecorder recorder(path);
    ASSERT_EQ(recorder.open(), CaError::nullError);
    for (const auto& measurement : recorded)
        recorder.received(measurement);
    // What no player would accept is left out.
    std::vector<vlr::TrackingMeasurement> bad(2, pose());
    bad[0].tool = "A\nB";
    bad[1].pose->translation.x() = std::numeric_limits<double>::infinity();
    for (const auto& measurement : bad)
        recorder.received(measurement);
    ASSERT_EQ(recorder.close(), CaError::nullError);
    const Playback played = playToTheEnd(path);
    expectSame(played.measurements, recorded);
    EXPECT_EQ(played.problem, "");
}

TEST_F(RecordingTest, DamagedRecordingsEndAtTheDamage) {
    const QByteArray header = "vlr-tracking 1\n";
    const QByteArray good = "0 markers A 1 2 -3.5 -\n";
    const QByteArray many = "0 markers A" + QByteArray(" -").repeated(33) + "\n";
    const std::tuple<const char*, QByteArray, const char*, std::size_t> cases[] = {
        {"empty", "", "", 0},
        {"good", good, "", 1},
        {"cut off", good + "5 markers A 1 2", "line 3: it is cut off", 1},
        {"no time", "now markers A -\n", "does not begin with a time", 0},
        {"negative", "-5 markers A -\n", "does not begin with a time", 0},
        {"back in time", "5 markers A -\n4 markers A -\n", "line 3: its time", 1},
        {"no tool", "0 markers\n", "no tool", 0},
        {"line break in name", "0 markers A%0AB -\n", "no tool", 0},
        {"another kind", "0 colours A 1 2 3\n", "neither", 0},
        {"nan", "0 markers A 1 nan 2\n", "neither", 0},
        {"inf", "0 pose A 1 0 0 0 1 0 0 0 1 inf 0 0\n", "neither", 0},
        {"many markers", many, "neither", 0},
        {"another state", good + "0 state sleepy\n", "line 3: it does not tell", 1},
    };
    for (const auto& [what, lines, problem, count] : cases) {
        SCOPED_TRACE(what);
        writeFile(path, header + lines);
        const Playback played = playToTheEnd(path);
        EXPECT_EQ(played.measurements.size(), count);
        EXPECT_THAT(played.problem, HasSubstr(problem));
        EXPECT_THAT(played.problem, HasSubstr(*problem ? "a case.track" : ""));
        EXPECT_EQ(played.problem.empty(), *problem == '\0') << played.problem;
    }
    for (const QByteArray& bytes : {QByteArray(), QByteArray("vlr-tracking 2\n"),
                                    QByteArray(100000, 'x'), header.chopped(1)}) {
        writeFile(path, bytes);
        EXPECT_THAT(RecordingPlayer(path, RecordingPlayer::Fast).start().text(),
                    AllOf(HasSubstr("a case.track"), HasSubstr("not a recording")));
    }
}

// In both cases without waiting for the end, and without half a line.
TEST_F(RecordingTest, RecordingEndsAtItsLimitAndOnAFullDiskAndSaysSo) {
    const QString second = path + QStringLiteral("2");
    const auto fill = [](TrackingRecorder& recorder) {
        for (int i = 0; i < 100; ++i)
            recorder.received(pose());
    };
    TrackingRecorder limited(path, 1000);
    ASSERT_EQ(limited.open(), CaError::nullError);
    EXPECT_TRUE(limited.error().isNull());
    fill(limited);
    EXPECT_THAT(limited.error().text(), AllOf(HasSubstr("a case.track"), HasSubstr("1000 bytes")));
    EXPECT_EQ(limited.close(), limited.error());
    EXPECT_LE(readFile(path).size(), 1000);

    EXPECT_FALSE(TrackingRecorder(path).open().isNull()); // It exists: nothing is overwritten.
    TrackingRecorder unlucky(second);
    ASSERT_EQ(unlucky.open(), CaError::nullError);
    {
        const FullDisk disk(500);
        fill(unlucky);
        EXPECT_TRUE(QTest::qWaitFor([&] { return !unlucky.error().isNull(); }, patience));
        EXPECT_THAT(unlucky.close().text(), HasSubstr("a case.track2"));
    }
    for (const QString& each : {path, second}) {
        const Playback played = playToTheEnd(each);
        EXPECT_EQ(played.problem, "");
        EXPECT_FALSE(played.measurements.empty());
    }
}

TEST_F(RecordingTest, LostConnectionsAndProblemsArePlayedBack) {
    std::vector<vlr::TrackingCondition> conditions{{true, "", ""},
                                                   {true, "a message is damaged", "damage"},
                                                   {false, "a \xc3\xa4%\nb", "left"},
                                                   {true, std::string(100000, 'x'), ""}};
    TrackingRecorder recorder(path);
    ASSERT_EQ(recorder.open(), CaError::nullError);
    const vlr::TrackingTime begin(std::chrono::hours(5));
    for (const auto& condition : conditions) {
        recorder.conditionChanged(condition, begin);
        recorder.received(pose(begin - std::chrono::seconds(1))); // taken in another thread
    }
    ASSERT_EQ(recorder.close(), CaError::nullError);

    const Playback played = playToTheEnd(path);
    EXPECT_EQ(played.measurements.size(), 4U);
    conditions[2].problem = "a \xc3\xa4%?b";
    conditions[3].problem = std::string(500, 'x');
    EXPECT_TRUE(played.conditions == conditions);
}

TEST_F(RecordingTest, APlaybackKeepsThePausesAndLosesTheConnectionAsTheTrackerDid) {
    writeFile(path, "vlr-tracking 1\n0 markers A 1 2 3\n"
                    "300000 state disconnected silent it%0Asays%20nothing\n"
                    "2000000000 state connected\n");
    const auto begin = std::chrono::steady_clock::now();
    RecordingPlayer player(path, RecordingPlayer::Own);
    ASSERT_EQ(player.start(), CaError::nullError);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !player.latest()->problem.empty(); }, patience));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(300));
    const vlr::TrackingCondition expected{false, "it?says nothing", "silent"};
    EXPECT_TRUE(*player.latest() == expected) << player.latest()->problem;
    EXPECT_TRUE(player.latest()->tools.empty());
    EXPECT_FALSE(player.hasEnded());
    player.stop(); // does not wait for the rest
    EXPECT_EQ(player.latest()->problem, "");
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

TEST(BackgroundWriter, SynchronisesWhileItRunsAndAtItsEndUntilThatFails) {
    for (const bool isRunning : {true, false}) {
        std::promise<void> synchronised[2]; // What was there before, and what was written.
        int syncs = 0;
        int written = 0;
        {
            vlr::BackgroundWriter writer(
                [&](const QByteArray& bytes) {
                    written += bytes.size();
                    return true;
                },
                [&] {
                    synchronised[syncs].set_value();
                    return ++syncs < 2;
                },
                isRunning ? std::chrono::milliseconds(1) : std::chrono::hours(1));
            for (std::promise<void>& each : synchronised)
                if (isRunning) {
                    each.get_future().wait();
                    EXPECT_TRUE(writer.write("bytes"));
                }
        }
        EXPECT_EQ(syncs, isRunning ? 2 : 1);
        EXPECT_EQ(written, isRunning ? 5 : 0);
    }
}
