#include "Tour/Tour.h"

#include "AppBase/AppBase.h"
#include "AppBase/QtAppMainWindow.h"
#include "Common/OwnEnvironment.h"
#include "Tour/TourStages.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>
#include <QtCore/QTimer>

#include <exception>
#include <iostream>

namespace {

constexpr int stageCount = 2;

// Returns the number of pictures, whose names the child prints; -1 after a failure.
int runStage(int stage, const QString& folder, const QProcessEnvironment& environment) {
    QProcess child;
    child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    child.setProcessEnvironment(environment);
    child.start(
        QCoreApplication::applicationFilePath(),
        {QStringLiteral("--tour"), folder, QStringLiteral("--tour-stage"), QString::number(stage)});
    child.waitForFinished(-1);
    const QByteArray output = child.readAllStandardOutput();
    std::cout << output.constData() << std::flush;
    const bool succeeded = child.exitStatus() == QProcess::NormalExit && child.exitCode() == 0;
    return succeeded ? output.count(".png\n") : -1;
}

} // namespace

Tour::Tour(int stage, const QString& folder) : m_stage(stage), m_folder(folder) {
    // The dialogs of the desktop cannot be operated from here.
    if (m_stage != 0)
        QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
}

Tour::~Tour() {
    if (hasFailed() && !m_isTold)
        std::cerr << "Tour: the program ended before the tour did" << std::endl;
}

void Tour::start(AppBase& application) {
    if (m_stage != 0)
        QTimer::singleShot(0, &application, [this, &application] { run(application); });
}

void Tour::run(AppBase& application) {
    try {
        TourActions actions(application.getMainWindow(), m_folder);
        runTourStage(m_stage, actions, application);
        m_isComplete = true;
    } catch (const std::exception& failure) {
        std::cerr << "Tour: " << failure.what() << std::endl;
        m_isTold = true;
        application.exitApplication();
    }
}

int runWholeTour(int argc, char** argv, const QString& folder) {
    const QCoreApplication application(argc, argv);
    const QString pictures = QFileInfo(folder).absoluteFilePath();
    const QTemporaryDir home;
    if (!home.isValid() || !QDir().mkpath(pictures)) {
        std::cerr << "Tour: cannot create " << pictures.toStdString() << std::endl;
        return EXIT_FAILURE;
    }
    int count = 0;
    for (int stage = 1; stage <= stageCount; ++stage) {
        const int added = runStage(stage, pictures, ownEnvironment(home.path()));
        if (added < 0) {
            std::cerr << "Tour: stage " << stage << " failed" << std::endl;
            return EXIT_FAILURE;
        }
        count += added;
    }
    std::cout << "Tour: " << count << " pictures in " << pictures.toStdString() << std::endl;
    return EXIT_SUCCESS;
}
