// Every part of the program, built and painted.

#include "SelfCheck/SelfCheck.h"

#include "AppBase/AppBase.h"
#include "AppBase/QtAppMainWindow.h"
#include "AppBase/QtAppModule.h"
#include "AppBase/QtAppModuleProxy.h"
#include "AppBase/QtModuleList.h"
#include "AppBase/Settings/vlrSettingsEditorDialog.h"
#include "Data/CaFactory.h"
#include "Data/ChildItem.h"
#include "Data/DataItem.h"
#include "Data/Patient.h"
#include "Data/ProcessData.h"
#include "Data/Study.h"
#include "DataUtils/DataFactory.h"
#include "DataUtils/QtDataConfigurationWidget.h"
#include "Documents/TreeXml.h"
#include "SelfCheck/CheckList.h"
#include "Volume/PaneView.h"

#include <QtCore/QDirIterator>
#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QTimer>
#include <QtCore/QUuid>
#include <QtGui/QIcon>
#include <QtWidgets/QApplication>
#include <QtWidgets/QMessageBox>

#include <memory>

namespace {

constexpr int patience = 30000; // milliseconds
constexpr int boxInterval = 50;

// A picture of one colour shows nothing.
QString pictureProblem(const QImage& picture) {
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x)
            if (picture.pixel(x, y) != picture.pixel(0, 0))
                return {};
    return QStringLiteral("Nothing is drawn.");
}

QString paintProblem(QWidget* widget) {
    return widget ? pictureProblem(widget->grab().toImage()) : QStringLiteral("It cannot be made.");
}

// Modules finish their work after they were painted.
QString settle(const std::function<bool()>& isReady) {
    QElapsedTimer timer;
    timer.start();
    do
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    while (!isReady() && timer.elapsed() < patience);
    return isReady() ? QString() : QStringLiteral("It does not become ready.");
}

void checkViews(CheckList& list, QWidget* window, const QString& module) {
    const QList<PaneView*> views = window->findChildren<PaneView*>();
    for (PaneView* view : views)
        if (view->isVisible())
            list.check("view", module + QStringLiteral(", ") + view->title(),
                       [view] { return paintProblem(view); });
}

QString moduleProblem(QtAppModule& module) {
    QCoreApplication::processEvents();
    const QString problem = paintProblem(module.getWidget());
    QWidget* const mainWidget = module.getMainWidget();
    return problem.isEmpty() && mainWidget ? paintProblem(mainWidget) : problem;
}

void checkModules(CheckList& list, AppBase& application, const QStringList& names) {
    QtAppMainWindow* const window = application.getMainWindow();
    auto* const modules = window->findChild<QtModuleList*>();
    for (const QString& name : names) {
        list.check("module", name, [&] {
            application.activateModule(name);
            const QString problem = settle([&] { return modules->currentName() == name; });
            return problem.isEmpty() ? moduleProblem(*modules->currentModuleProxy()->module())
                                     : problem;
        });
        checkViews(list, window, name);
    }
}

QString editorProblem(const QString& className) {
    const DataPointer<Data> data(Data::createInstance(className));
    if (!data)
        return QStringLiteral("There is no such record.");
    const std::unique_ptr<QWidget> editor(DataFactory::configurationWidget(data.get(), nullptr));
    return paintProblem(editor.get());
}

void checkEditors(CheckList& list) {
    for (const QString& className : DataFactory::dataList(0))
        list.check("editor", className, [&] { return editorProblem(className); });
    list.check("editor", QStringLiteral("settings"), [] {
        vlr::SettingsEditorDialog dialog;
        return paintProblem(&dialog);
    });
}

// Stored, read, and stored once more it has to be the same.
QString recordProblem(const QString& className) {
    const DataPointer<Data> record(Data::createInstance(className));
    const DataPointer<Data> copy(Data::createInstance(className));
    DataTreeNode written;
    DataTreeNode read;
    DataTreeNode again;
    CaError error = record->save(written);
    const QByteArray document = vlr::writeTree(written);
    if (error == CaError::nullError)
        error = vlr::readTree(document, read);
    if (error == CaError::nullError)
        error = copy->load(read);
    if (error == CaError::nullError)
        error = copy->save(again);
    if (error != CaError::nullError)
        return QString::fromStdString(error.text());
    return vlr::writeTree(again) == document ? QString()
                                             : QStringLiteral("It does not come back as stored.");
}

void checkRecords(CheckList& list) {
    for (const auto& factory : Data::getFactory()) {
        const QString name = QString::fromStdString(factory.first);
        list.check("record", name, [&] { return recordProblem(name); });
    }
}

void checkIcons(CheckList& list) {
    for (QDirIterator icon(QStringLiteral(":/icons/default")); icon.hasNext();) {
        const QString path = icon.next();
        list.check("icon", icon.fileName(), [&] {
            const QPixmap picture = QIcon(path).pixmap(32, 32);
            return picture.isNull() ? QStringLiteral("It cannot be read.")
                                    : pictureProblem(picture.toImage());
        });
    }
}

// In the environment of this process, whose log nobody else writes to. A record is only in the file
// when it can be read there.
QString logProblem() {
    const QByteArray mark = "Self-check " + QUuid::createUuid().toByteArray();
    vlr::Log::setEnabled(vlr::LogLevel::Info, true);
    VLR_LOG(Info) << mark.constData();
    vlr::Log::setEnabled(vlr::LogLevel::Info, false);
    vlr::Log::flush();
    QFile file(QFile::decodeName(vlr::Log::filePath().c_str()));
    if (!file.open(QIODevice::ReadOnly))
        return QStringLiteral("It cannot be written.");
    return file.readAll().contains(mark) ? QString()
                                         : QStringLiteral("What is logged does not get there.");
}

// What the user would be told in a box is in the log as well, and becomes a fault from there.
// Nobody is here to answer the box itself.
void answerBoxes() {
    if (auto* const box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget()))
        box->reject();
}

} // namespace

int checkParts(AppBase& application, const QStringList& modules) {
    createPatientFactory();
    createStudyFactory();
    createDataItemFactory();
    createProcessDataFactory();
    createChildItemFactory();
    QTimer unattended;
    QObject::connect(&unattended, &QTimer::timeout, &unattended, &answerBoxes);
    unattended.start(boxInterval);
    CheckList list;
    checkModules(list, application, modules);
    checkEditors(list);
    checkRecords(list);
    checkIcons(list);
    list.check("log", QStringLiteral("a log file"), &logProblem);
    return list.faults();
}
