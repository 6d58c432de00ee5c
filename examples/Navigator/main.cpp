#include "AppBase/AppBase.h"
#include "AppBase/QtAppMainWindow.h"
#include "BackupCommand.h"
#include "Base/Icons.h"
#include "CommandLine.h"
#include "Common/AfterFirstPaint.h"
#include "Common/Selector.h"
#include "Compare/CompareModule.h"
#include "Enlarge/EnlargeModule.h"
#include "Files/UserFolders.h"
#include "Images/ImagesModule.h"
#include "Log/vlrLog.h"
#include "Patients/PatientsModule.h"
#include "Review/ReviewModule.h"
#include "SelfCheck/SelfCheck.h"
#include "Tour/Tour.h"
#include "Tracking/TrackingModule.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QTimer>
#include <QtGui/QIcon>
#include <QtGui/QScreen>

#include <iostream>

namespace {

constexpr int usageError = 2;
constexpr QSize windowSize(1100, 720);

void prepareWindow(AppBase& application) {
    const QString title = QStringLiteral("Navigator");
    application.setApplicationIdentification(title, vlr::icon(title), title);
    QtAppMainWindow* const window = application.getMainWindow();
    window->resize(windowSize.boundedTo(window->screen()->availableSize()));
}

// Their names, in order.
QStringList addModules(AppBase& application, const QStringList& paths) {
    auto* const patients = new PatientsModule;
    const auto panes = std::make_shared<VolumePanes>();
    auto* const images = new ImagesModule(panes, paths);
    auto* const compare = new CompareModule(panes);
    auto* const enlarge = new EnlargeModule(panes);
    auto* const review = new ReviewModule;
    patients->setWorkOfPatient([panes] { return panes->closingText(); });
    patients->setSteps(false, true);
    images->setSteps(true, true);
    compare->setSteps(true, true);
    auto* const tracking = new TrackingModule(panes);
    enlarge->setSteps(true, true);
    tracking->setSteps(true, true);
    review->setSteps(true, false);
    QStringList names;
    for (QtAppModule* module : std::initializer_list<QtAppModule*>{patients, images, compare,
                                                                   enlarge, tracking, review}) {
        application.addModule(module);
        names << module->name();
    }
    if (!paths.isEmpty())
        application.activateModule(images->name());
    return names;
}

void addSelector(AppBase& application, const QString& kind) {
    application.setModuleSelector(makeSelector(kind.isEmpty() ? configuredSelector() : kind));
}

// By this line it is measured how long a start takes.
void announceFirstFrame(AppBase& application, bool andExit) {
    afterFirstPaint(application.getMainWindow(), [&application, andExit] {
        std::cout << "first frame" << std::endl;
        if (andExit)
            application.exitApplication();
    });
}

// Everything is checked as it runs, the way out included.
void checkPartsOnceItRuns(AppBase& application, const QStringList& modules, int& faults) {
    vlr::Log::setEnabled(vlr::LogLevel::Info, false);
    QTimer::singleShot(0, &application, [&application, modules, &faults] {
        faults = checkParts(application, modules);
        application.exitApplication();
    });
}

int runApplication(int argc, char** argv, const CommandLine& commandLine) {
    Tour tour(commandLine.tourStage, commandLine.tourFolder);
    AppBase application(argc, argv);
    prepareWindow(application);
    const QStringList modules = addModules(application, commandLine.paths);
    addSelector(application, commandLine.selector);
    if (commandLine.printFirstFrame)
        announceFirstFrame(application, commandLine.exitAfterFirstFrame);
    tour.start(application);
    int faults = 0;
    if (commandLine.selfCheckParts)
        checkPartsOnceItRuns(application, modules, faults);
    const int code = application.run();
    return tour.hasFailed() || faults > 0 ? EXIT_FAILURE : code;
}

} // namespace

int main(int argc, char** argv) {
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    const CommandLine commandLine = parseCommandLine(arguments);
    if (!commandLine.error.isEmpty()) {
        std::cerr << "Navigator: " << commandLine.error.toStdString()
                  << "\n\"Navigator --help\" lists what it understands.\n";
        return usageError;
    }
    if (commandLine.version) {
        std::cout << "Navigator " NAVIGATOR_VERSION << std::endl;
        return EXIT_SUCCESS;
    }
    if (commandLine.help) {
        const QCoreApplication application(argc, argv);
        std::cout << commandLineHelp().toStdString() << std::flush;
        return EXIT_SUCCESS;
    }
    const CaError error = vlr::checkUserFolders();
    if (!error.isNull()) {
        std::cerr << "Navigator: " << error.text() << std::endl;
        return EXIT_FAILURE;
    }
    if (!commandLine.backup.isNull())
        return runBackup(argc, argv, commandLine.backup);
    if (!commandLine.restore.isNull())
        return runRestore(argc, argv, commandLine.restore);
    if (commandLine.selfCheck)
        return runSelfCheck(argc, argv);
    if (!commandLine.tourFolder.isEmpty() && commandLine.tourStage == 0)
        return runWholeTour(argc, argv, commandLine.tourFolder);
    return runApplication(argc, argv, commandLine);
}
