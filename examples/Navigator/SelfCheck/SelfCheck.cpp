#include "SelfCheck/SelfCheck.h"

#include "Common/OwnEnvironment.h"
#include "SelfCheck/CheckList.h"

#include <QtCore/QFileInfo>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>
#include <QtWidgets/QApplication>

#include <iostream>

namespace {

constexpr int longestSilence = 60000; // milliseconds

// What modules say for developers is left out.
void forward(const QByteArray& line) {
    if (line.startsWith("ok ") || line.startsWith("FAULT "))
        std::cout << line.toStdString() << std::flush;
}

// The lines of the child are those of this program. A child that breaks down is a fault.
QString partsProblem() {
    const QTemporaryDir home;
    if (!home.isValid())
        return home.errorString();
    QProcess child;
    child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    child.setProcessEnvironment(ownEnvironment(home.path()));
    std::cout << std::flush;
    child.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--self-check-parts")});
    while (child.canReadLine() || child.waitForReadyRead(longestSilence))
        while (child.canReadLine())
            forward(child.readLine());
    if (child.state() != QProcess::NotRunning && !child.waitForFinished(longestSilence)) {
        child.kill();
        child.waitForFinished();
        return QStringLiteral("The program does not go on.");
    }
    if (child.exitStatus() != QProcess::NormalExit)
        return QStringLiteral("The program broke down.");
    return child.exitCode() == 0 ? QString() : QStringLiteral("There were faults.");
}

} // namespace

int runSelfCheck(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    // As the application object does.
    QCoreApplication::setApplicationName(
        QFileInfo(QCoreApplication::applicationFilePath()).baseName());
    CheckList list;
    checkSite(list);
    list.check("parts", QStringLiteral("all of the above"), &partsProblem);
    std::cout << (list.isGood() ? "Everything works." : "There are faults.") << std::endl;
    return list.isGood() ? EXIT_SUCCESS : EXIT_FAILURE;
}
