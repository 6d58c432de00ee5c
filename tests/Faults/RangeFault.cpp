// Settings that are of another type than the library expects, or beyond what they may be.

#include "Faults.h"

#include "Child.h"

#include "AppBase/AppBase.h"
#include "AppBase/KnownSettings.h"
#include "AppBase/QtAppMainWindow.h"
#include "Base/QtQVSplitterFrame.h"
#include "Base/QtQVViewFrame.h"
#include "Base/QtQuadView.h"
#include "IO/DataIOManager.h"
#include "Settings/vlrSettings.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QTimer>
#include <QtWidgets/QVBoxLayout>

#include <algorithm>
#include <cstdio>
#include <limits>
#include <stdexcept>

namespace {

// As they stand in the file.
const QByteArray badValues[] = {
    "",
    "nan",
    "inf",
    "-inf",
    "-1",
    "0",
    "0x10",
    "3.5",
    "1e308",
    "1e999",
    "2147483647",
    "2147483648",
    "-2147483648",
    "99999999999999999999",
    "true",
    "neither",
    "1 2",
    "nan nan nan",
    "1e308 -1e308 inf",
    "-5 300 1e9",
    "1 2 3 4",
    "@Size(-1 -1)",
    "@Size(2147483647 2147483647)",
    "99999999 x 99999999",
    "@Rect(1 2 3 4)",
    "@ByteArray(\\0\\xff)",
    "@Invalid()",
    "a, b, c",
    "\"\\0\\x1\\xd800\"",
    "/dev/zero",
    QByteArray(100000, '7'),
};
constexpr int badValueCount = static_cast<int>(std::size(badValues));

// "a/b/c" stands as "b\c" in the group "a".
void writeSettings(const QString& onlyKey, const QByteArray& value) {
    QByteArray file;
    for (const vlr::KnownSetting& setting : vlr::knownSettings())
        if (onlyKey.isEmpty() || onlyKey == setting.key)
            file += '[' + setting.key.section(QLatin1Char('/'), 0, 0).toLatin1() + "]\n" +
                    setting.key.section(QLatin1Char('/'), 1).toLatin1().replace('/', '\\') + '=' +
                    value + '\n';
    const QString path = vlr::Settings::filePath();
    QDir().mkpath(QFileInfo(path).path());
    QFile::remove(path); // Qt takes a file of the same size and time for the one it knows.
    QFile settings(path);
    if (!settings.open(QIODevice::WriteOnly) || settings.write(file) != file.size())
        throw std::runtime_error("The settings cannot be written.");
    settings.close();
    vlr::Settings::reload();
}

// One value as its reader uses it. The settings editor knows in which range it has to be.
void look(const char* name, double value, double least, double most) {
    const QString key = QStringLiteral("Velora/Application/") + QLatin1String(name);
    for (const vlr::KnownSetting& setting : vlr::knownSettings())
        if (setting.key == key && setting.type.kind != vlr::SettingsType::Kind::Vector) {
            least = std::max(least, setting.type.minimum);
            most = std::min(most, setting.type.maximum);
        }
    if (!(value >= least && value <= most))
        std::printf("%s is %g, not from %g to %g\n", name, value, least, most);
}

void lookAtWidgets() {
    constexpr double most = std::numeric_limits<int>::max();
    QWidget window;
    auto* layout = new QVBoxLayout(&window);
    auto* view = new QtQuadView(&window);
    layout->addWidget(view);
    layout->addWidget(new QtQuadView(&window)); // Sizes are added up here.
    window.show();
    look("QtQuadView/InitialSize", view->sizeHint().width(), 0, QWIDGETSIZE_MAX);
    look("QtQuadView/InitialSize", view->sizeHint().height(), 0, QWIDGETSIZE_MAX);
    look("QtQuadView/InitialSize", window.sizeHint().height(), 0, most);
    look("QtQuadView/ExpandButtonTimeoutInMS", view->findChild<QTimer*>()->interval(), 0, most);
    const QtQVSplitterFrame splitter(&window, QtQVSplitterFrame::Vertical);
    look("QtQuadView/SplitterWidth", splitter.midLineWidth(), 0, most);
    QtQVViewFrame frame(&window);
    frame.setFocus(true);
    look("QtQuadView/SelectedColor", frame.palette().color(QPalette::Button).isValid(), 1, 1);
    look("MaxPatientID", Patient::getMaxPatientID(), 0, most);
}

// A start, some work and an exit with these settings.
void session() {
    int argumentCount = 1;
    char name[] = "vlrFaults";
    char* arguments[] = {name, nullptr};
    AppBase application(argumentCount, arguments);
    application.launchSplashScreen();
    QTimer::singleShot(0, &application, [&application] {
        lookAtWidgets();
        std::vector<vlr::URI> patients;
        (void)DataIOManager::patientList(patients);
        const QSize size = application.getMainWindow()->size();
        look("WindowShowMode", std::max(size.width(), size.height()), 0, QWIDGETSIZE_MAX);
        application.exitApplication();
    });
    application.run();
}

struct Tally {
    long sessions = 0;
    long crashes = 0;
    long escapes = 0;
};

// All values in one process, unless it crashes.
void tryValues(const QString& key, Tally& tally, Report& report) {
    int next = 0;
    while (next < badValueCount) {
        Child child(QStringLiteral("range"), {key, QString::number(next)});
        child.process().closeReadChannel(QProcess::StandardError);
        int last = next;
        for (QByteArray line = child.readLine(); !line.isEmpty(); line = child.readLine())
            if (line.startsWith("value ")) {
                last = line.mid(6).toInt();
                ++tally.sessions;
            } else if (line != "\n") {
                ++tally.escapes;
                report.problem("\"" + badValues[last].left(40).toStdString() +
                               "\": " + line.trimmed().toStdString());
            }
        const int status = child.wait();
        next = status == 0 ? badValueCount : last + 1;
        if (status == 0)
            continue;
        ++tally.crashes;
        report.problem("\"" + badValues[last].left(40).toStdString() + "\" in " +
                       (key.isEmpty() ? "all keys" : key.toStdString()) + ": ended with " +
                       std::to_string(status));
    }
}

} // namespace

void faultRange(Report& report) {
    Tally tally;
    tryValues(QString(), tally, report);
    if (report.isLong())
        for (const vlr::KnownSetting& setting : vlr::knownSettings())
            tryValues(setting.key, tally, report);
    report.done(std::to_string(tally.sessions) + " sessions, " + std::to_string(badValueCount) +
                " bad values in " + std::to_string(vlr::knownSettings().size()) +
                (report.isLong() ? " keys, together and alone" : " keys together"));
    report.atLeast("sessions", tally.sessions, badValueCount);
    report.atMost("crashes", tally.crashes, 0);
    report.atMost("values that escape their range", tally.escapes, 0);
}

// Arguments: the key, or nothing for all, and the number of the first value. Tells each before it
// is tried, and what was out of its range.
int actRange(const QStringList& arguments) {
    QCoreApplication::setApplicationName(QStringLiteral("vlrFaults"));
    for (int i = arguments.value(1).toInt(); i < badValueCount; ++i) {
        std::printf("value %d\n", i);
        std::fflush(stdout);
        writeSettings(arguments.value(0), badValues[i]);
        session();
        DataIOManager::closeRepository();
    }
    return 0;
}
