// Markup in every text that comes from data.

#include "Base/PlainText.h"
#include "AppBase/Dialogs/QtScreenShotDialog.h"
#include "AppBase/QtScreenShotData.h"
#include "AppBase/Selectors/QtModuleButtonSelector.h"
#include "AppBase/Selectors/QtModuleTabSelector.h"
#include "AppBase/Settings/SettingsConflictDialog.h"
#include "AppBase/Settings/SettingsKeyDialog.h"
#include "AppBase/Settings/vlrSettingsEditorDialog.h"
#include "Base/QtMsgBox.h"
#include "Base/QtTextEditLogger.h"
#include "Common/Question.h"
#include "Data/Study.h"
#include "DataUtils/QtStudyConfigurationWidget.h"
#include "Faults/Desk.h"
#include "Navigator/NavigatorTest.h"
#include "Patients/PatientsModule.h"
#include "Patients/StoredVersion.h"
#include "Review/ReviewModule.h"
#include "Settings/vlrSettings.h"
#include "Tools/SurgicalTool.h"
#include "Tracking/TrackingModule.h"
#include "Widgets/QtDRBVisibilityBox.h"

#include <QtGui/QHelpEvent>
#include <QtGui/QTextDocument>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QSplashScreen>
#include <QtWidgets/QTabBar>
#include <QtWidgets/QTableWidget>
#include <QtWidgets/QTextEdit>
#include <QtWidgets/QToolTip>

#include <map>
#include <sys/stat.h>

using namespace vlrTest;

namespace {

// Whoever takes it for markup opens the FIFO, and waits for ever.
const QString markup = QStringLiteral("<img src=fifo><b>x &lt;");

/// Looks at every text that Qt could take for markup, in all windows that there are.
class Walk {
public:
    void lookAtAll() {
        for (QWidget* window : QApplication::topLevelWidgets()) {
            look(*window);
            for (auto* widget : window->findChildren<QWidget*>())
                look(*widget);
        }
    }
    /// Fails where the markup was not met at all kinds of places.
    std::string result(std::initializer_list<const char*> places) {
        for (const char* place : places)
            if (m_met[place] == 0)
                m_wrong += std::string("no markup in any ") + place + "; ";
        return m_wrong;
    }

private:
    void judge(const char* place, const QString& text, bool isSafe, const QObject& where) {
        m_met[place] += text.contains(QLatin1String("src=fifo")) ? 1 : 0;
        if (!isSafe && m_wrong.size() < 2000)
            m_wrong += std::string("a rich ") + place + " of " + where.metaObject()->className() +
                       ' ' + where.objectName().toStdString() + ": " + text.toStdString() + "; ";
    }
    void judgeTip(const char* place, const QString& text, const QObject& where) {
        judge(place, text, vlr::isPlainToolTip(text), where);
    }
    void look(QWidget& widget) {
        judgeTip("tool tip", widget.toolTip(), widget);
        judgeTip("explanation", widget.whatsThis(), widget);
        if (const auto* label = qobject_cast<QLabel*>(&widget))
            judge("label", label->text(),
                  label->textFormat() == Qt::PlainText || !Qt::mightBeRichText(label->text()) ||
                      label->objectName() == QLatin1String("aboutText"),
                  widget);
        if (const auto* splash = qobject_cast<QSplashScreen*>(&widget))
            judgeTip("splash screen", splash->message(), widget);
        if (const auto* tabs = qobject_cast<QTabBar*>(&widget))
            for (int i = 0; i < tabs->count(); ++i)
                judgeTip("tab", tabs->tabToolTip(i), widget);
        if (const auto* edit = qobject_cast<QTextEdit*>(&widget))
            judge("document", edit->toPlainText(), !edit->toHtml().contains(QLatin1String("<img")),
                  widget);
        const auto* view = qobject_cast<QAbstractItemView*>(&widget);
        if (view && view->model() && !qobject_cast<const QHeaderView*>(view))
            look(*view, *view->model(), {});
    }
    void look(const QAbstractItemView& view, const QAbstractItemModel& model,
              const QModelIndex& parent) {
        for (int row = 0; row < std::min(model.rowCount(parent), 200); ++row)
            for (int column = 0; column < model.columnCount(parent); ++column) {
                const QModelIndex cell = model.index(row, column, parent);
                for (const int role : {Qt::ToolTipRole, Qt::WhatsThisRole, Qt::StatusTipRole})
                    judgeTip("cell", cell.data(role).toString(), view);
                if (model.hasChildren(cell))
                    look(view, model, cell);
            }
    }

    std::map<std::string, int> m_met;
    std::string m_wrong;
};

DataPointer<Patient> markedPatient() {
    DataPointer<Patient> patient(new Patient);
    patient->setPatientId(markup);
    patient->setName(markup);
    DataPointer<Study> study(new Study);
    study->setInstitution(markup);
    (void)patient->addChild(study, false);
    DataPointer<QtScreenShotData> picture(new QtScreenShotData);
    QPixmap pixmap(4, 4);
    pixmap.fill(Qt::red);
    picture->setScreenShot(pixmap);
    picture->setId(markup);
    (void)patient->addChild(picture, true);
    const CaError error = DataIOManager::storePatient(patient);
    if (error != CaError::nullError)
        throw std::runtime_error(error.text());
    AppBase::setCurrentPatient(patient);
    AppBase::setCurrentStudy(study);
    return patient;
}

// Everything that opens a window and shows something of the data in it.
void openDialogs(AppBase& application, const DataPointer<Patient>& patient) {
    QtAppMainWindow* const window = application.getMainWindow();
    const QByteArray words = markup.toUtf8();
    for (Data* data : std::initializer_list<Data*>{patient.get(), patient->child(0).get()}) {
        QString name = markup;
        (void)DataFactory::displayConfigurationDialog(data, &name);
    }
    (void)QtMsgBox::postAndWait(window, QtMsgBox::MsgWarning, words, "%s", words.constData());
    (void)confirm(window, markup, markup);
    (void)askAboutConflict(*patient, window);
    exec<vlr::SettingsEditorDialog>(window);
    vlr::SettingsDatabase source;
    const vlr::SettingsEdits edits(source);
    exec<vlr::SettingsKeyDialog>(edits, vlr::SettingsKeyDialog::Purpose::Rename, markup, window);
    exec<vlr::SettingsConflictDialog>(
        edits,
        std::vector<vlr::SettingsConflict>{{{markup, markup, QStringLiteral("a")}, markup, false}},
        window);
    QtScreenShotDialog(patient.get(), window).grab(window);
    VLR_LOG(UserError) << words.constData();
    emit window->configRequest();
    showProgress(window, words.constData());
}

struct PlainTextTest : NavigatorTest {
    PlainTextTest() {
        EXPECT_TRUE(QDir::setCurrent(testFolder()));
        EXPECT_EQ(mkfifo("fifo", 0600), 0);
    }
};

} // namespace

TEST_F(PlainTextTest, MarkupInDataIsShownAsItIs) {
    // It looks at every box itself, and closes it.
    vlrTest::awaitedDialogs().emplace_back([](QWidget*) { return true; });
    (void)vlr::Settings::set(markup + QStringLiteral("/") + markup, markup);
    Walk walk;
    // What opens is looked at and left.
    const EveryTurn user([&] {
        const auto dialog = modalDialog();
        if (!dialog)
            return;
        walk.lookAtAll();
        dialog->reject();
    });
    expectLog(LogLevel::UserWarning, "does not exist");
    expectLog(LogLevel::UserError, "src=fifo");
    application->launchSplashScreen(); // It names the modules.
    createStudyFactory();
    linkPatientForm();
    createQtStudyConfigurationWidgetFactory();
    panes = std::make_shared<VolumePanes>();
    for (QtAppModule* module : std::initializer_list<QtAppModule*>{
             new PatientsModule, new ImagesModule(panes, {QStringLiteral("./") + markup}),
             new TrackingModule(panes), new ReviewModule, new DeskModule(markup)})
        application->addModule(module);
    const auto patient = markedPatient();
    QtDRBVisibilityBox tools;
    SurgicalTool tool(vlr::ToolGeometry{markup.toStdString(), {}});
    (void)tools.addRigid(&tool);
    QtTextEditLogger log;
    log.follow(true);
    VLR_LOG(Info) << markup;
    log.syncSL();
    application->getMainWindow()->show();
    EXPECT_TRUE(QTest::qWaitFor(
        [&] { return find<QLabel>("patientCount")->text().endsWith(QLatin1Char('1')); }, patience));
    for (QtModuleSelector* selector : std::initializer_list<QtModuleSelector*>{
             new QtModuleButtonSelector(QtModuleSelector::Top),
             new QtModuleTabSelector(QtModuleSelector::Top, true, true, true, true)}) {
        application->setModuleSelector(selector);
        for (const char* name : {"Patients", "Images", "Tracking", "Review", ""}) {
            application->activateModule(*name ? QString::fromLatin1(name) : markup);
            QCoreApplication::processEvents();
            walk.lookAtAll();
        }
    }
    openDialogs(*application, patient);
    EXPECT_EQ(walk.result({"tool tip", "label", "tab", "cell", "splash screen"}), "");
}

// Whoever forgets to say that a text is plain.
TEST_F(PlainTextTest, ATipThatSomebodyForgotIsPlain) {
    QWidget widget;
    widget.setToolTip(markup);
    QTableWidget table(1, 1);
    table.setItem(0, 0, new QTableWidgetItem);
    table.item(0, 0)->setToolTip(markup);
    QTabBar tabs;
    tabs.addTab(QString());
    tabs.setTabToolTip(0, markup);
    for (QWidget* target : std::initializer_list<QWidget*>{&widget, table.viewport(), &tabs}) {
        target->window()->show();
        QToolTip::hideText();
        const QPoint place(5, 5);
        QHelpEvent event(QEvent::ToolTip, place, target->mapToGlobal(place));
        QApplication::sendEvent(target, &event);
        EXPECT_EQ(QToolTip::text(), vlr::plainToolTip(markup)) << target->metaObject()->className();
    }
    vlr::allowRichToolTips(widget);
    widget.setToolTip(QStringLiteral("<b>on purpose</b>"));
    QHelpEvent event(QEvent::ToolTip, QPoint(), QPoint());
    QApplication::sendEvent(&widget, &event);
    EXPECT_EQ(QToolTip::text(), widget.toolTip());
}
