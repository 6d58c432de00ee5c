#include "SelfCheck/SelfCheck.h"

#include "Common/OwnEnvironment.h"
#include "Log/vlrLog.h"
#include "SelfCheck/CheckList.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFileInfo>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>

#include <iostream>

namespace {

constexpr int longestSilence = 60000; // milliseconds

// The checks that the child has done so far.
struct Results {
    int good = 0;
    int faults = 0;

    // What modules say for developers is left out.
    void forward(const QByteArray& line) {
        const bool isGood = line.startsWith("ok ");
        const bool isFault = line.startsWith("FAULT ");
        good += isGood ? 1 : 0;
        faults += isFault ? 1 : 0;
        if (isGood || isFault)
            std::cout << line.toStdString() << std::flush;
    }
};

// The lines of the child are those of this program. A child that breaks down is a fault, and so is
// one that says nothing. What it printed counts whatever status it ends with.
QString partsProblem() {
    const QTemporaryDir home;
    if (!home.isValid())
        return home.errorString();
    QProcess child;
    child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    child.setProcessEnvironment(ownEnvironment(home.path()));
    std::cout << std::flush;
    child.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--self-check-parts")});
    Results results;
    while (child.canReadLine() || child.waitForReadyRead(longestSilence))
        while (child.canReadLine())
            results.forward(child.readLine());
    if (child.state() != QProcess::NotRunning && !child.waitForFinished(longestSilence)) {
        child.kill();
        child.waitForFinished();
        return QStringLiteral("The program does not go on.");
    }
    if (child.exitStatus() != QProcess::NormalExit)
        return QStringLiteral("The program broke down.");
    if (results.faults > 0 || child.exitCode() != 0)
        return QStringLiteral("There were faults.");
    return results.good > 0 ? QString() : QStringLiteral("Nothing was checked.");
}

} // namespace

int runSelfCheck(int argc, char** argv) {
    vlr::Log::setFileEnabled(false);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    // Without windows, whose fonts would be looked up and remembered in the user's home.
    const QCoreApplication application(argc, argv);
    // As the application object does.
    QCoreApplication::setApplicationName(
        QFileInfo(QCoreApplication::applicationFilePath()).baseName());
    const QString problem = foreignFolderProblem();
    if (!problem.isEmpty()) {
        std::cerr << "Navigator: nothing was checked. " << problem.toStdString() << std::endl;
        return EXIT_FAILURE;
    }
    CheckList list;
    checkSite(list);
    list.check("parts", QStringLiteral("all of the above"), &partsProblem);
    std::cout << (list.isGood() ? "Everything works." : "There are faults.") << std::endl;
    return list.isGood() ? EXIT_SUCCESS : EXIT_FAILURE;
}
