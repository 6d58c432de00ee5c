// What it costs to ask for a setting at the point of use.

#include "Suites.h"

#include "Suite.h"

#include "Settings/vlrSettings.h"

#include <QtCore/QSettings>

#include <memory>
#include <stdexcept>

namespace {

constexpr double aim = 0.25;
constexpr int settingCount = 100;

QString key(int number) {
    return QStringLiteral("Velora/Benchmark/Group%1/Number%2").arg(number % 7).arg(number);
}

void storeSettings() {
    std::vector<vlr::SettingsChange> changes;
    for (int i = 0; i < settingCount; ++i)
        changes.push_back({key(i), {}, QString::number(i * 3)});
    QStringList conflicts;
    const CaError error = vlr::Settings::apply(changes, conflicts);
    if (!error.isNull())
        throw std::runtime_error(error.text());
}

void check(benchmark::State& state, bool isRight) {
    if (!isRight)
        state.SkipWithError("A setting has another value than was stored.");
}

} // namespace

void addSettings(Suite& suite) {
    storeSettings();
    const auto plain = std::make_shared<QSettings>(vlr::Settings::filePath(), QSettings::IniFormat);
    const QString asked = key(42);
    suite.compare({"number",
                   "Settings::get() of a number / QSettings::value().toInt()",
                   aim,
                   [asked](benchmark::State& state) {
                       const long long before = allocationCount();
                       int value = 0;
                       for (auto _ : state)
                           benchmark::DoNotOptimize(value = vlr::Settings::get(asked, 0));
                       state.counters["allocations"] =
                           static_cast<double>(allocationCount() - before) /
                           static_cast<double>(state.iterations());
                       check(state, value == 126);
                   },
                   [asked, plain](benchmark::State& state) {
                       int value = 0;
                       for (auto _ : state)
                           benchmark::DoNotOptimize(value = plain->value(asked, 0).toInt());
                       check(state, value == 126);
                   },
                   {{"allocations", -1}}});
    suite.compare({"text", "Settings::get() of a text / QSettings::value().toString()", aim,
                   [asked](benchmark::State& state) {
                       for (auto _ : state)
                           benchmark::DoNotOptimize(vlr::Settings::get(asked, QString()));
                   },
                   [asked, plain](benchmark::State& state) {
                       for (auto _ : state)
                           benchmark::DoNotOptimize(plain->value(asked, QString()).toString());
                   }});
}
