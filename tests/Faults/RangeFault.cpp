// Settings that are of another type than the library expects, or beyond what they may be.

#include "Faults.h"

#include "Cases.h"
#include "Desk.h"
#include "QuietLog.h"

#include "AppBase/AppBase.h"
#include "AppBase/KnownSettings.h"
#include "AppBase/QtAppMainWindow.h"
#include "AppBase/QtScreenShotData.h"
#include "Base/QtCaProgressMonitor.h"
#include "Base/QtQVSplitterFrame.h"
#include "Base/QtQVViewFrame.h"
#include "Base/QtQuadView.h"
#include "Common/Selector.h"
#include "IO/DataIOManager.h"
#include "Log/vlrLog.h"
#include "Settings/vlrSettings.h"
#include "Widgets/vlrImageWidget.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtWidgets/QFileDialog>
#include <QtWidgets/QLabel>
#include <QtWidgets/QShortcut>
#include <QtWidgets/QSplashScreen>
#include <QtWidgets/QVBoxLayout>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <set>

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
    "/nowhere/there.png",
    QByteArray(100000, '7'),
};
constexpr int badValueCount = static_cast<int>(std::size(badValues));

QString key(const char* name) {
    return QStringLiteral("Velora/Application/") + QLatin1String(name);
}

// --- what is to be seen of a setting

constexpr double most = std::numeric_limits<int>::max();
constexpr double unseen = std::numeric_limits<double>::quiet_NaN();

QSplashScreen* findSplash() {
    for (QWidget* widget : QApplication::topLevelWidgets())
        if (auto* const splash = qobject_cast<QSplashScreen*>(widget))
            return splash;
    return nullptr;
}

// A program that has started with the settings.
struct Session {
    explicit Session(AppBase& owner) : application(owner), splash(findSplash()), ownSplash(splash) {
        if (!splash)
            application.launchSplashScreen();
        splash = findSplash();
        auto* const layout = new QVBoxLayout(&window);
        layout->addWidget(view);
        layout->addWidget(new QtQuadView(&window)); // Sizes are added up here.
        frame.setFocus(true);
        findMessage();
    }
    void findMessage();

    AppBase& application;
    QPointer<QSplashScreen> splash;
    QPointer<QSplashScreen> ownSplash; // not asked for by this test
    QRect message;                     // on the splash screen
    int darkest = 255;                 // of it
    bool isFolderThere = false;
    QWidget window;
    QtQuadView* view = new QtQuadView(&window);
    QtQVViewFrame frame{&window};
    QWidget* content = new QWidget(&frame);
};

void Session::findMessage() {
    const QImage bare = splash->pixmap().toImage().convertToFormat(QImage::Format_RGB32);
    const QImage told = splash->grab().toImage().convertToFormat(QImage::Format_RGB32);
    for (int y = 0; y < std::min(bare.height(), told.height()); ++y)
        for (int x = 0; x < std::min(bare.width(), told.width()); ++x)
            if (bare.pixel(x, y) != told.pixel(x, y)) {
                message |= QRect(x, y, 1, 1);
                darkest = std::min(darkest, qGray(told.pixel(x, y)));
            }
}

double number(const QColor& color) {
    return color.isValid() ? color.rgb() & 0xffffffU : -1;
}

double sizeOf(const Session& s) {
    const QSize size = s.view->sizeHint();
    const bool isNegative =
        std::min({size.width(), size.height(), s.window.sizeHint().height()}) < 0;
    return isNegative ? -1 : std::max(size.width(), size.height());
}

// 1 for a screenshot that is stored, or whose failure is told.
double storeScreenshot(Session&) {
    bool isTold = false;
    const int listener = vlr::Log::addListener([&](const vlr::LogRecord& record) {
        isTold = isTold || record.level == vlr::LogLevel::Error;
    });
    DataPointer<QtScreenShotData>(new QtScreenShotData)
        ->setScreenShot(QPixmap(2, 2), QStringLiteral("Shot"));
    vlr::Log::removeListener(listener);
    const QString folder = vlr::Settings::get(key("ScreenshotLocation"), "");
    const bool isStored =
        QFile::remove((folder.isEmpty() ? QDir::homePath() + QStringLiteral("/Desktop") : folder) +
                      QStringLiteral("/Shot.png"));
    return isStored != isTold ? 1 : 0;
}

double chooseFile(Session& s) {
    vlr::ImageWidget widget(&s.window);
    QMetaObject::invokeMethod(&widget, "saveImageFile");
    return s.isFolderThere ? 1 : 0;
}

// 1 for a program that ends without a question.
double close(Session& s) {
    bool isEnd = false;
    QtAppMainWindow* const window = s.application.getMainWindow();
    QObject::connect(window, &QtAppMainWindow::exitApplication, &s.window, [&] { isEnd = true; });
    window->close();
    return isEnd ? 1 : 0;
}

// What a value of the type comes to; any other must come to what is there without it.
struct Effect {
    QString key;
    double least;
    double most;
    double (*seen)(Session&);
};

const Effect effects[] = {
    {key("ShowSplashScreen"), 0, 1, [](Session& s) { return double(!s.ownSplash.isNull()); }},
    {key("SplashScreen.ResourcePath"), 0, 0,
     [](Session& s) { return double(s.splash->pixmap().width()); }},
    {key("SplashScreen.Timer"), 0, 1,
     [](Session& s) {
         return s.ownSplash && s.application.getMainWindow()->isVisible()
                    ? double(s.ownSplash->isVisible())
                    : unseen;
     }},
    {key("ShowSplashScreenMessageLocationHorizontal"), 1, 1, // right
     [](Session& s) {
         return s.message.isEmpty() ? unseen : 2.0 * s.message.center().x() / s.splash->width() > 1;
     }},
    {key("ShowSplashScreenMessageLocationVertical"), 0, 0, // top
     [](Session& s) {
         return s.message.isEmpty() ? unseen
                                    : 2.0 * s.message.center().y() / s.splash->height() > 1;
     }},
    {key("ShowSplashScreenMessageColor"), 0, 40, // black
     [](Session& s) { return s.message.isEmpty() ? unseen : s.darkest; }},
    {key("WindowShowMode"), 0, 0,
     [](Session& s) { return double(s.application.getMainWindow()->isVisible()); }},
    {key("ScreenshotShortcut"), 0, 0,
     [](Session& s) {
         auto* const shortcut = s.application.getMainWindow()->findChild<QShortcut*>();
         return double(shortcut->key() == QKeySequence(Qt::Key_F2));
     }},
    {key("ScreenshotLocation"), 1, 1, &storeScreenshot},
    {key("DisplayLogo"), 0, 1,
     [](Session& s) {
         return double(s.application.getMainWindow()->findChild<QLabel*>(QStringLiteral("logo")) !=
                       nullptr);
     }},
    {key("ProgressBarFlushX"), 0, 1,
     [](Session&) { return double(QtCaProgressMonitor::isFlushX()); }},
    {key("ProgressBarSyncX"), 0, 1,
     [](Session&) { return double(QtCaProgressMonitor::isSyncX()); }},
    {key("PatientRepository"), 0, 0,
     [](Session&) {
         std::vector<vlr::URI> patients;
         return double(DataIOManager::patientList(patients) == CaError::nullError);
     }},
    {key("MaxPatientID"), 0, most, [](Session&) { return double(Patient::getMaxPatientID()); }},
    {key("QtQuadView/ExpandButtonTimeoutInMS"), 0, most,
     [](Session& s) { return double(s.view->findChild<QTimer*>()->interval()); }},
    {key("QtQuadView/InitialSize"), 0, QWIDGETSIZE_MAX, [](Session& s) { return sizeOf(s); }},
    {key("QtQuadView/SplitterWidth"), 1, 64,
     [](Session& s) {
         return double(QtQVSplitterFrame(&s.window, QtQVSplitterFrame::Vertical).midLineWidth());
     }},
    {key("QtQuadView/ButtonColor"), 0, 0xffffff,
     [](Session& s) { return number(s.content->palette().color(QPalette::Button)); }},
    {key("QtQuadView/BackgroundColor"), 0, 0xffffff,
     [](Session& s) { return number(s.content->palette().color(QPalette::Window)); }},
    {key("QtQuadView/SelectedColor"), 0, 0xffffff,
     [](Session& s) { return number(s.frame.palette().color(QPalette::Button)); }},
    {selectorKey(), 0, 0,
     [](Session&) { return double(selectorKinds().indexOf(configuredSelector())); }},
    {QStringLiteral("vlrImageWidget/path"), 1, 1, &chooseFile},
    {key("ExitWithoutRequest"), 0, 1, &close},
};

// Without these, others have no effect.
const std::map<QString, QByteArray> helpers = {{key("ShowSplashScreen"), "true"},
                                               {key("QtQuadView/ButtonColor"), "9 9 9"}};

// --- sessions

std::set<QString> asked; // of all keys
std::set<QString> judged;

// "a/b/c" stands as "b\c" in the group "a".
QByteArray line(const QString& name, const QByteArray& value) {
    return '[' + name.section(QLatin1Char('/'), 0, 0).toLatin1() + "]\n" +
           name.section(QLatin1Char('/'), 1).toLatin1().replace('/', '\\') + '=' + value + '\n';
}

void writeSettings(const QByteArray& bytes) {
    // Qt takes a file of the same size and time for the one it knows.
    static QByteArray filler(";");
    filler += ';';
    const QString path = vlr::Settings::filePath();
    QDir().mkpath(QFileInfo(path).path());
    QFile settings(path);
    if (!settings.open(QIODevice::WriteOnly) || settings.write(bytes + filler) < bytes.size())
        throw std::runtime_error("The settings cannot be written.");
    settings.close();
    vlr::Settings::reload();
}

using Sights = std::map<QString, double>;

// A start, some work and an end with these settings: what was seen of each of them.
Sights session(const QByteArray& settings) {
    writeSettings(settings);
    int argumentCount = 1;
    char name[] = "vlrFaults";
    char* arguments[] = {name, nullptr};
    AppBase application(argumentCount, arguments);
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    Session session(application);
    const EveryTurn answers([&] {
        const auto dialog = modalDialog();
        if (auto* const files = qobject_cast<QFileDialog*>(dialog.data()))
            session.isFolderThere = files->directory().exists();
        if (dialog)
            dialog->reject();
    });
    Sights sights;
    QTimer::singleShot(0, &application, [&] {
        QCoreApplication::processEvents(); // The splash screen goes with the window.
        for (const Effect& effect : effects)
            sights[effect.key] = effect.seen(session);
        application.exitApplication();
    });
    application.run();
    DataIOManager::closeRepository();
    return sights;
}

// The same settings without the bad ones.
const Sights& otherwise(const QByteArray& settings) {
    static std::map<QByteArray, Sights> known;
    const auto found = known.find(settings);
    return found != known.end() ? found->second : known[settings] = session(settings);
}

bool isDefault(const QString& name) {
    const QVariant stored = vlr::Settings::value(name);
    for (const vlr::KnownSetting& setting : vlr::knownSettings())
        if (setting.key == name)
            return vlr::isReadAsDefault(setting.type, stored) ||
                   vlr::rawSettingText(stored) == setting.defaultText;
    return vlr::isReadAsDefault({}, stored);
}

// One bad value for one of them, or for all.
std::string tryValue(const QByteArray& value, const Effect* only) {
    nameCase("\"" + value.left(40).toStdString() + "\" in " +
             (only ? only->key.toStdString() : "all keys"));
    QByteArray good;
    QByteArray bad;
    for (const Effect& effect : effects)
        if (!only || only == &effect)
            bad += line(effect.key, value);
    for (const auto& [name, help] : helpers)
        if (only && only->key != name)
            good += line(name, help);
    const Sights& expected = otherwise(good);
    Sights sights = session(good + bad);
    writeSettings(good + bad); // The program may have stored something.
    std::string wrong;
    for (const Effect& effect : effects) {
        const double seen = sights[effect.key];
        if ((only && only != &effect) || std::isnan(seen))
            continue;
        judged.insert(effect.key);
        const bool isUsed = !isDefault(effect.key);
        const double from = isUsed ? effect.least : expected.at(effect.key);
        const double to = isUsed ? effect.most : expected.at(effect.key);
        if (!(seen >= from && seen <= to))
            wrong += effect.key.toStdString() + " comes to " + std::to_string(seen) +
                     " and not from " + std::to_string(from) + " to " + std::to_string(to) + "; ";
    }
    return wrong;
}

// Every key that is read has a row, and every row is one of a key that is read, and was looked at.
std::string compareKeys() {
    std::set<QString> rows;
    std::set<QString> listed;
    for (const Effect& effect : effects)
        rows.insert(effect.key);
    for (const vlr::KnownSetting& setting : vlr::knownSettings())
        listed.insert(setting.key);
    std::string wrong;
    const auto demand = [&](const std::set<QString>& keys, const std::set<QString>& in,
                            const char* otherwise) {
        for (const QString& each : keys)
            if (in.count(each) == 0)
                wrong += each.toStdString() + otherwise;
    };
    demand(asked, rows, " is read and has no row; ");
    demand(listed, rows, " is in the editor and has no row; ");
    demand(rows, asked, " is read by nobody; ");
    demand(rows, judged, " was not looked at; ");
    return wrong;
}

struct Case {
    const QByteArray& value;
    const Effect* only; // or nothing for all of them
};

// In the short form each key is tried alone with one value.
std::vector<Case> allCases(bool isLong) {
    std::vector<Case> all;
    for (const QByteArray& value : badValues)
        all.push_back({value, nullptr});
    for (const Effect& effect : effects)
        for (const QByteArray& value : badValues)
            if (isLong || value == "neither")
                all.push_back({value, &effect});
    return all;
}

} // namespace

int actRange(const QStringList& arguments) {
    QCoreApplication::setApplicationName(QStringLiteral("vlrFaults"));
    QDir::setCurrent(QDir::homePath()); // where relative paths lead
    const QuietLog quiet;
    vlr::Settings::watch([](const QString& name) { asked.insert(name); });
    const std::vector<Case> all = allCases(isLongForm());
    return doCases(arguments, [&](long number) {
        const Case& one = all[static_cast<std::size_t>(number)];
        const std::string wrong = tryValue(one.value, one.only);
        return number + 1 < static_cast<long>(all.size()) ? wrong : wrong + compareKeys();
    });
}

void faultRange(Report& report) {
    const auto count = static_cast<long>(allCases(report.isLong()).size());
    const CaseResults results = runCases(report, QStringLiteral("range"), count);
    report.done(std::to_string(count) + " sessions with one of " +
                std::to_string(std::size(badValues)) + " bad values in one of " +
                std::to_string(std::size(effects)) + " keys, or in all");
    report.atMost("values that escape their range, keys nobody looks at", results.bad, 0);
    report.atMost("crashes", results.crashes, 0);
    report.atMost("sessions without end", results.stuck, 0);
}
