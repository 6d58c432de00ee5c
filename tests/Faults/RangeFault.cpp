// Settings that are of another type than the library expects, or beyond what they may be.

#include "Faults.h"

#include "Desk.h"
#include "QuietLog.h"

#include "AppBase/AppBase.h"
#include "AppBase/QtAppMainWindow.h"
#include "AppBase/QtScreenShotData.h"
#include "AppBase/Settings/KnownSettings.h"
#include "Base/QtCaProgressMonitor.h"
#include "Base/QtQVSplitterFrame.h"
#include "Base/QtQVViewFrame.h"
#include "Base/QtQuadView.h"
#include "Common/Selector.h"
#include "Files/PatientFile.h"
#include "Settings/SettingsWatch.h"
#include "Widgets/vlrImageWidget.h"

#include <QtWidgets/QFileDialog>
#include <QtWidgets/QLabel>
#include <QtWidgets/QShortcut>
#include <QtWidgets/QSplashScreen>
#include <QtWidgets/QVBoxLayout>

#include <cmath>
#include <limits>
#include <map>
#include <set>
#include <sys/stat.h>

namespace {

// As they stand in the file.
const QList<QByteArray> badValues =
    QByteArray(
        "|nan|inf|-inf|-1|0|0x10|3.5|1e308|1e999|2147483647|2147483648|-2147483648|"
        "99999999999999999999|true|neither|1 2|nan nan nan|1e308 -1e308 inf|-5 300 1e9|"
        "1 2 3 4|@Size(-1 -1)|@Size(2147483647 2147483647)|99999999 x 99999999|"
        "@Rect(1 2 3 4)|@ByteArray(\\0\\xff)|@Invalid()|a, b, c|\"\\0\\x1\\xd800\"|/dev/zero|"
        "/nowhere/there.png|" +
        QByteArray(20000, '7'))
        .split('|');

QString key(const char* name) {
    return QStringLiteral("Velora/Application/") + QLatin1String(name);
}

// --- what is to be seen of a setting

constexpr double most = std::numeric_limits<int>::max();
constexpr double white = 0xffffff;
constexpr double unseen = std::numeric_limits<double>::quiet_NaN();

QSplashScreen* findSplash() {
    for (QWidget* widget : QApplication::topLevelWidgets())
        if (auto* const splash = qobject_cast<QSplashScreen*>(widget))
            return splash;
    return nullptr;
}

// A program that has started with the settings.
struct Session {
    explicit Session(AppBase& application) : main(application.getMainWindow()) {
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
    [[nodiscard]] double ofMessage(double value) const {
        return message.isEmpty() ? unseen : value;
    }

    QtAppMainWindow* main;
    QPointer<QSplashScreen> splash = findSplash();
    QPointer<QSplashScreen> ownSplash = splash; // not asked for by this test
    QRect message;                              // on the splash screen
    int darkest = 255;                          // of it
    bool isFolderThere = false;
    QWidget window;
    QtQuadView* view = new QtQuadView(&window);
    QtQVViewFrame frame{&window};
    QWidget* content = new QWidget(&frame);
    QtQVSplitterFrame line{&window, QtQVSplitterFrame::Vertical};
};

void Session::findMessage() {
    const QImage bare = splash->pixmap().toImage().convertToFormat(QImage::Format_RGB32);
    const QImage told = splash->grab().toImage().convertToFormat(QImage::Format_RGB32);
    for (int y = 0; y < bare.height(); ++y)
        for (int x = 0; x < bare.width(); ++x)
            if (bare.pixel(x, y) != told.pixel(x, y)) {
                message |= QRect(x, y, 1, 1);
                darkest = std::min(darkest, qGray(told.pixel(x, y)));
            }
}

double number(const QColor& color) {
    return color.isValid() ? color.rgb() & 0xffffffU : -1.0;
}

double sizeOf(const Session& s) {
    const QSize size = s.view->sizeHint();
    const int least = std::min({size.width(), size.height(), s.window.sizeHint().height()});
    return least < 0 ? least : std::max(size.width(), size.height());
}

// Whether a screenshot is stored, or the failure told.
bool storesScreenshot(Session&) {
    bool isTold = false;
    const int listener = vlr::Log::addListener([&](const vlr::LogRecord& record) {
        isTold = isTold || record.level == vlr::LogLevel::Error;
    });
    const DataPointer<QtScreenShotData> screenshot(new QtScreenShotData);
    screenshot->setScreenShot(QPixmap(2, 2), QStringLiteral("Shot"));
    vlr::Log::removeListener(listener);
    const QString folder = vlr::Settings::get(key("ScreenshotLocation"), "");
    const QString place = folder.isEmpty() ? QDir::homePath() + QStringLiteral("/Desktop") : folder;
    return QFile::remove(place + QStringLiteral("/Shot.png")) != isTold;
}

bool asksInFolder(Session& s) {
    vlr::ImageWidget widget(&s.window);
    QMetaObject::invokeMethod(&widget, "saveImageFile");
    return s.isFolderThere;
}

bool readsPatients(Session&) {
    std::vector<vlr::URI> patients;
    return DataIOManager::patientList(patients) == CaError::nullError;
}

double rightsOfPatientData(Session&) {
    const QString path = QDir::homePath() + QStringLiteral("/rights");
    (void)vlr::writePatientFile(path, "bytes");
    struct stat status = {};
    const bool isThere = stat(QFile::encodeName(path).constData(), &status) == 0;
    QFile::remove(path);
    return isThere ? status.st_mode & 07777U : unseen;
}

// Whether the program ends without a question.
bool endsAtOnce(Session& s) {
    bool isEnd = false;
    QObject::connect(s.main, &QtAppMainWindow::exitApplication, &s.window, [&] { isEnd = true; });
    s.main->close();
    return isEnd;
}

// What a value of the type comes to; any other must come to what is there without it.
struct Effect {
    QString key;
    double least;
    double most;
    std::function<double(Session&)> seen;
};

const QString imagePath = QStringLiteral("vlrImageWidget/path");
const QString logo = QStringLiteral("logo");

// Made when they are first asked for: some of their keys are made before main() elsewhere.
const std::vector<Effect>& effects() {
    static const std::vector<Effect> all{
        {key("ShowSplashScreen"), 0, 1, [](Session& s) { return !s.ownSplash.isNull(); }},
        {key("SplashScreen.ResourcePath"), 640, 640, // The built-in one.
         [](Session& s) { return s.splash->pixmap().width(); }},
        {key("SplashScreen.Timer"), 0, 1, // It stays.
         [](Session& s) {
             return s.ownSplash && s.main->isVisible() ? s.ownSplash->isVisible() : unseen;
         }},
        {key("ShowSplashScreenMessageLocationHorizontal"), 0.5, 1,
         [](Session& s) { return s.ofMessage(1.0 * s.message.center().x() / s.splash->width()); }},
        {key("ShowSplashScreenMessageLocationVertical"), 0, 0.5,
         [](Session& s) { return s.ofMessage(1.0 * s.message.center().y() / s.splash->height()); }},
        {key("ShowSplashScreenMessageColor"), 0, 40,
         [](Session& s) { return s.ofMessage(s.darkest); }},
        {key("WindowShowMode"), 0, 0, [](Session& s) { return s.main->isVisible(); }},
        {key("ScreenshotShortcut"), 0, 0,
         [](Session& s) {
             return s.main->findChild<QShortcut*>()->key() == QKeySequence(Qt::Key_F2);
         }},
        {key("ScreenshotLocation"), 1, 1, &storesScreenshot},
        {key("DisplayLogo"), 0, 1,
         [](Session& s) { return s.main->findChild<QLabel*>(logo) != nullptr; }},
        {key("ProgressBarFlushX"), 0, 1, [](Session&) { return QtCaProgressMonitor::isFlushX(); }},
        {key("ProgressBarSyncX"), 0, 1, [](Session&) { return QtCaProgressMonitor::isSyncX(); }},
        {key("PatientRepository"), 0, 0, &readsPatients},
        {key("PatientDataGroup"), 0600, 0600, &rightsOfPatientData},
        {key("MaxPatientID"), 0, most, [](Session&) { return Patient::getMaxPatientID(); }},
        {key("QtQuadView/ExpandButtonTimeoutInMS"), 0, most,
         [](Session& s) { return s.view->findChild<QTimer*>()->interval(); }},
        {key("QtQuadView/InitialSize"), 0, QWIDGETSIZE_MAX, &sizeOf},
        {key("QtQuadView/SplitterWidth"), 1, 64, [](Session& s) { return s.line.midLineWidth(); }},
        {key("QtQuadView/ButtonColor"), 0, white,
         [](Session& s) { return number(s.content->palette().color(QPalette::Button)); }},
        {key("QtQuadView/BackgroundColor"), 0, white,
         [](Session& s) { return number(s.content->palette().color(QPalette::Window)); }},
        {key("QtQuadView/SelectedColor"), 0, white,
         [](Session& s) { return number(s.frame.palette().color(QPalette::Button)); }},
        {selectorKey(), 0, 0,
         [](Session&) { return selectorKinds().indexOf(configuredSelector()); }},
        {imagePath, 1, 1, &asksInFolder},
        {key("ExitWithoutRequest"), 0, 1, &endsAtOnce}};
    return all;
}

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
    vlrTest::CommandLine line;
    AppBase application(line.count, line.words);
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
        for (const Effect& effect : effects())
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
    for (const Effect& effect : effects())
        if (!only || only == &effect)
            bad += line(effect.key, value);
    for (const auto& [name, help] : helpers)
        if (only && only->key != name)
            good += line(name, help);
    const Sights& expected = otherwise(good);
    Sights sights = session(good + bad);
    writeSettings(good + bad); // The program may have stored something.
    std::string wrong;
    for (const Effect& effect : effects()) {
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

void demand(const std::set<QString>& keys, const std::set<QString>& in, const char* otherwise,
            std::string& wrong) {
    for (const QString& each : keys)
        if (in.count(each) == 0)
            wrong += each.toStdString() + otherwise;
}

// Every key that is read has a row, and every row is one of a key that is read, and was looked at.
std::string compareKeys() {
    std::set<QString> rows;
    std::set<QString> listed;
    for (const Effect& effect : effects())
        rows.insert(effect.key);
    for (const vlr::KnownSetting& setting : vlr::knownSettings())
        listed.insert(setting.key);
    std::string wrong;
    demand(asked, rows, " is read and has no row; ", wrong);
    demand(listed, rows, " is in the editor and has no row; ", wrong);
    demand(rows, asked, " is read by nobody; ", wrong);
    demand(rows, judged, " was not looked at; ", wrong);
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
    for (const Effect& effect : effects())
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
    vlr::watchSettings([](const QString& name) { asked.insert(name); });
    const std::vector<Case> all = allCases(isLongForm());
    return doCases(arguments, [&](long number) {
        const Case& one = all[static_cast<std::size_t>(number)];
        const std::string wrong = tryValue(one.value, one.only);
        return number + 1 < static_cast<long>(all.size()) ? wrong : wrong + compareKeys();
    });
}

void faultRange(Report& report) {
    const std::size_t count = allCases(report.isLong()).size();
    report.done(std::to_string(count) + " sessions with one of " +
                std::to_string(std::size(badValues)) + " bad values in one of " +
                std::to_string(effects().size()) + " keys, or in all");
    demandCases(report, "range", count, "values that escape their range, keys nobody looks at");
}
