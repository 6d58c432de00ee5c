// What a record of the log costs, and how the view of the log bears many lines.

#include "Suites.h"

#include "Silence.h"
#include "Suite.h"

#include "Base/LogModel.h"
#include "Log/vlrLog.h"

#include <QtCore/QTemporaryDir>

#include <memory>
#include <spdlog/logger.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/sinks/stdout_sinks.h>
#include <stdexcept>

namespace {

constexpr double recordAim = 1.15;
constexpr double unheardAim = 0.25;
constexpr int unheardRecords = 100; // in one iteration: one alone is too short to be timed

/// As one would set spdlog up for the same: a rotating file, standard error, and the source line.
struct PlainLog {
    PlainLog()
        : logger("plain", {std::make_shared<spdlog::sinks::rotating_file_sink_mt>(
                               folder.filePath(QStringLiteral("plain.log")).toStdString(),
                               std::size_t(2) << 20, 4),
                           std::make_shared<spdlog::sinks::stderr_sink_mt>()}) {
        logger.set_pattern("%Y-%m-%d %H:%M:%S.%e %l %s:%#: %v");
        logger.flush_on(spdlog::level::warn);
    }

    QTemporaryDir folder;
    spdlog::logger logger;
};

void writeOurs(benchmark::State& state) {
    const Silence silence;
    int number = 0;
    const long long before = allocationCount();
    for (auto _ : state)
        VLR_LOG(Warning) << "The tool \"Pointer\" was lost in frame " << ++number;
    state.counters["allocations"] =
        static_cast<double>(allocationCount() - before) / static_cast<double>(state.iterations());
}

void writeTheirs(benchmark::State& state, PlainLog& log) {
    const Silence silence;
    int number = 0;
    for (auto _ : state)
        log.logger.log(spdlog::source_loc{__FILE__, __LINE__, ""}, spdlog::level::warn,
                       "The tool \"Pointer\" was lost in frame {}", ++number);
}

void skipOurs(benchmark::State& state) {
    for (auto _ : state)
        for (int i = 0; i < unheardRecords; ++i)
            VLR_LOG(Debug) << "The tool \"Pointer\" was lost in frame " << i;
}

void skipTheirs(benchmark::State& state, PlainLog& log) {
    for (auto _ : state)
        for (int i = 0; i < unheardRecords; ++i)
            log.logger.debug("The tool \"Pointer\" was lost in frame {}", i);
}

// In portions, as the view collects them between two of its updates.
void appendLines(LogModel& model, long count) {
    constexpr long portion = 100;
    for (long done = 0; done < count; done += portion) {
        std::vector<LogModel::Line> lines;
        for (long i = 0; i < portion; ++i)
            lines.push_back({i % 2 == 0 ? vlr::LogLevel::Info : vlr::LogLevel::Warning,
                             QStringLiteral("Line %1").arg(done + i)});
        model.append(lines);
    }
}

void fill(benchmark::State& state) {
    for (auto _ : state) {
        LogModel model;
        appendLines(model, state.range(0));
    }
}

void filter(benchmark::State& state) {
    LogModel model;
    model.setLimit(static_cast<int>(state.range(0)));
    appendLines(model, state.range(0));
    for (auto _ : state) {
        model.setLowestLevel(vlr::LogLevel::Warning);
        model.setLowestLevel(vlr::LogLevel::Debug);
    }
}

} // namespace

void addLog(Suite& suite) {
    const auto plain = std::make_shared<PlainLog>();
    suite.compare({"record",
                   "a record, flushed / spdlog with flush_on()",
                   recordAim,
                   &writeOurs,
                   [plain](benchmark::State& state) { writeTheirs(state, *plain); },
                   {{"allocations", -1}}});
    suite.compare({"unheard", "100 records of an unheard level / spdlog's", unheardAim, &skipOurs,
                   [plain](benchmark::State& state) { skipTheirs(state, *plain); }});
    const std::vector<long> sizes{1000, 10000, 100000, 1000000};
    suite.grow({"lines", "appending lines to the view of the log", sizes, &fill});
    suite.grow({"filter", "choosing what levels the view shows", sizes, &filter});
}
