// Every dialog of the library, left in every way that there is.

#include "Faults.h"

#include "Desk.h"

#include "AppBase/AppBase.h"
#include "AppBase/AppBaseImpl.h"
#include "AppBase/Dialogs/QtAboutDialog.h"
#include "AppBase/Dialogs/QtAppBaseConfigWidget.h"
#include "AppBase/Dialogs/QtModuleConfigWidget.h"
#include "AppBase/QtAppMainWindow.h"
#include "AppBase/Settings/SettingsConflictDialog.h"
#include "AppBase/Settings/SettingsKeyDialog.h"
#include "Base/QtMsgBox.h"
#include "Data/Study.h"
#include "DataUtils/QtStudyConfigurationWidget.h"
#include "Documents/TreeXml.h"
#include "Log/vlrLog.h"
#include "Patients/StoredVersion.h"
#include "Tracking/TrackingOptionsWidget.h"
#include "Widgets/vlrImageWidget.h"

#include <QtCore/QDirIterator>
#include <QtCore/QScopedValueRollback>
#include <QtTest/QTest>
#include <QtWidgets/QAbstractItemView>
#include <QtWidgets/QCheckBox>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QDateTimeEdit>
#include <QtWidgets/QFileDialog>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QSpinBox>

#include <map>

namespace {

using Fingerprint = std::map<QString, QByteArray>;

// An application with one of everything that a dialog may change.
struct Workplace {
    explicit Workplace(const QString& patientId) {
        createStudyFactory();
        linkPatientForm();
        linkDataToWidget("Study", "QtStudyConfigurationWidget", "",
                         DataFactory::configurationRecord, "");
        linkDataToWidget("ModuleConfig", "QtModuleConfigWidget", "",
                         DataFactory::configurationRecord, "");
        createQtStudyConfigurationWidgetFactory();
        createQtModuleConfigWidgetFactory();
        QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
        // The first one in the editor.
        (void)vlr::Settings::set(QStringLiteral("A/Text"), QStringLiteral("Before"));
        auto* const module = new DeskModule(QStringLiteral("Module"));
        if (!module->configuration()) // in the file
            module->setConfiguration(new Study);
        options = DataPointer<Data>(module->configuration());
        application.addModule(module);
        patient->setPatientId(patientId);
        patient->setName(QStringLiteral("Somebody"));
        (void)patient->addChild(study, false);
        (void)DataIOManager::storePatient(patient);
        AppBase::setCurrentPatient(patient);
        application.getMainWindow()->show();
    }

    QtAppMainWindow* window() { return application.getMainWindow(); }
    [[nodiscard]] Fingerprint fingerprint() const;

    vlrTest::CommandLine line;
    AppBaseImpl* impl = new AppBaseImpl(line.count, line.words, true, false);
    AppBase application{line.count, line.words, impl};
    DataPointer<AppBaseConfig> config = impl->config();
    DataPointer<Data> options; // of the module
    DataPointer<ModuleConfig> moduleConfig{new ModuleConfig};
    DataPointer<Patient> patient{new Patient};
    DataPointer<Study> study{new Study};
    DataPointer<Study> newStudy{new Study};
    QString name = QStringLiteral("Name");
    bool hasAnswered = false; // Something took the user's answer for a "yes".
};

// Whatever is stored, but for the log, and whatever there is in memory to be stored.
Fingerprint Workplace::fingerprint() const {
    Fingerprint all{{QStringLiteral("name"), name.toUtf8()},
                    {QStringLiteral("answer"), hasAnswered ? "yes" : "no"}};
    QDirIterator files(QDir::homePath(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        QFile file(files.next());
        // SQLite may write its own files whenever it likes, the patients are asked below; and Qt
        // remembers the size of its dialog.
        const auto isIn = [&](const char* part) {
            return file.fileName().contains(QLatin1String(part));
        };
        if (!isIn("/log/") && !isIn(".sqlite") && !isIn("QtProject") &&
            file.open(QIODevice::ReadOnly))
            all[file.fileName()] = file.readAll();
    }
    for (Data* item : std::initializer_list<Data*>{config.get(), patient.get(), newStudy.get(),
                                                   moduleConfig.get(), options.get()}) {
        DataTreeNode node;
        (void)item->save(node);
        all[QStringLiteral("item %1").arg(all.size())] = vlr::writeTree(node);
    }
    std::vector<MetaInformation> patients;
    (void)DataIOManager::patientMetaInfoList(patients);
    for (const MetaInformation& each : patients)
        all[each.value(QStringLiteral("id"))] = each.value(QStringLiteral("revision")).toUtf8();
    return all;
}

void edit(Workplace& place, const DataPointer<Data>& data, QString* name) {
    DataFactory::DialogOptions options;
    options.parent = place.window();
    options.store = [patient = place.patient] { return DataIOManager::storePatient(patient); };
    (void)DataFactory::displayConfigurationDialog(data.get(), name, options);
}

struct SettingsBefore {
    vlr::SettingsDatabase source;
    vlr::SettingsEdits edits{source};
};

// A setting that somebody else changed, which the dialog asks about.
void askAboutSettings(Workplace& place) {
    const vlr::SettingsConflict conflict{{QStringLiteral("A"), 1, 2}, 3, false};
    exec<vlr::SettingsConflictDialog>(SettingsBefore().edits,
                                      std::vector<vlr::SettingsConflict>{conflict}, place.window());
}

template <vlr::SettingsKeyDialog::Purpose purpose>
void askForKey(Workplace& place) {
    exec<vlr::SettingsKeyDialog>(SettingsBefore().edits, purpose, QStringLiteral("Victim/Key"),
                                 place.window());
}

// The name that was given is what the dialog starts with the next time, also if it was none.
void saveImage(Workplace& place) {
    auto* widget = new vlr::ImageWidget(place.window());
    widget->setImage(QImage(2, 2, QImage::Format_RGB32));
    QMetaObject::invokeMethod(widget, "saveImageFile");
    (void)vlr::Settings::remove(QStringLiteral("vlrImageWidget/path"));
}

void chooseColour(Workplace& place) {
    auto* const form = new QtAppBaseConfigWidget(place.config.get(), {}, place.window(), {});
    form->findChild<QPushButton*>()->click();
}

struct DialogEntry {
    const char* name;
    void (*open)(Workplace&);  // and runs it
    bool takesOnEnter = false; // what was entered
    bool hasOwner = true;
};

constexpr DialogEntry dialogs[] = {
    {"configuration", [](Workplace& p) { emit p.window()->configRequest(); }, true},
    {"settings editor", [](Workplace& p) { emit p.window()->configFileEditorRequest(); }, true},
    {"key of a new setting", &askForKey<vlr::SettingsKeyDialog::Purpose::Add>},
    {"new key of a setting", &askForKey<vlr::SettingsKeyDialog::Purpose::Rename>},
    {"conflict of settings", &askAboutSettings},
    {"screenshot", [](Workplace& p) { emit p.window()->screenShotRequest(); }, true, false},
    {"colour", &chooseColour},
    {"about", [](Workplace& p) { exec<QtAboutDialog>(p.window()); }},
    {"patient", [](Workplace& p) { edit(p, p.patient, nullptr); }, true},
    {"patient with a name", [](Workplace& p) { edit(p, p.patient, &p.name); }, true},
    {"study", [](Workplace& p) { edit(p, p.study, nullptr); }, true},
    {"new study", [](Workplace& p) { edit(p, p.newStudy, &p.name); }, true},
    {"options of the module", [](Workplace& p) { edit(p, p.moduleConfig, nullptr); }, true},
    {"exit question", [](Workplace& p) { p.window()->close(); }},
    {"question",
     [](Workplace& p) {
         p.hasAnswered = QtMsgBox::postAndWait(p.window(), QtMsgBox::MsgQuestion, "Delete",
                                               "Delete all?") == QMessageBox::Yes;
     },
     true},
    {"message", [](Workplace&) { VLR_LOG(UserError) << "A message for the user"; }, false, false},
    {"progress", [](Workplace& p) { showProgress(p.window(), "Working "); }},
    {"file of an image", &saveImage, true},
    {"file of a recording",
     [](Workplace& p) {
         auto* const widget = new TrackingOptionsWidget(nullptr, {}, p.window(), {});
         for (auto* button : widget->findChildren<QPushButton*>())
             button->click();
     }},
    {"patient changed elsewhere",
     [](Workplace& p) {
         p.hasAnswered = askAboutConflict(*p.patient, p.window()) != Conflict::Leave;
     }},
};

struct Way {
    const char* name;
    void (*leave)(QDialog&, Workplace&);
    bool takes = false; // what was entered
    bool endsOwner = false;
};

constexpr Way ways[] = {
    {"Escape",
     [](QDialog& dialog, Workplace&) {
         // As at a keyboard: it goes where the focus is.
         QWidget* const focus = dialog.focusWidget();
         QTest::keyClick(focus ? focus : &dialog, Qt::Key_Escape);
     }},
    {"close", [](QDialog& dialog, Workplace&) { dialog.close(); }},
    {"Enter",
     [](QDialog& dialog, Workplace&) {
         // A search line keeps it for itself.
         const QPointer<QDialog> open = &dialog;
         QWidget* const focus = dialog.focusWidget();
         QTest::keyClick(focus ? focus : &dialog, Qt::Key_Return);
         if (open && open->isVisible())
             for (const QPointer<QPushButton> button : open->findChildren<QPushButton*>())
                 if (button && button->isDefault())
                     QTest::keyClick(button, Qt::Key_Return);
     },
     true},
    {"owner deleted", [](QDialog&, Workplace& place) { delete place.window(); }, false, true},
};

constexpr auto wayCount = static_cast<long>(std::size(ways));

void editFirstCell(QAbstractItemView& view) {
    QModelIndex cell = view.model()->index(0, 0);
    while (view.model()->hasChildren(cell))
        cell = view.model()->index(0, 0, cell);
    view.setFocus();
    view.setCurrentIndex(cell);
    QTest::keyClick(&view, Qt::Key_F2);
    QWidget* const editor = QApplication::focusWidget();
    if (!editor || editor == &view)
        return;
    QTest::keyClicks(editor, QStringLiteral("7"));
    QTest::keyClick(editor, Qt::Key_Return);
}

bool isTextField(const QWidget& field) {
    return (field.inherits("QLineEdit") || field.inherits("QTextEdit") ||
            field.inherits("QPlainTextEdit")) &&
           !field.property("readOnly").toBool() && field.isVisible() &&
           !qobject_cast<QAbstractSpinBox*>(field.parentWidget());
}

// Another value in every field that there is.
void scribble(QDialog& dialog) {
    if (auto* const files = qobject_cast<QFileDialog*>(&dialog)) // It renames and moves at once.
        return files->selectFile(QDir::homePath() + QStringLiteral("/Scribble.png"));
    for (auto* view : dialog.findChildren<QAbstractItemView*>())
        if (view->isVisible() && view->model())
            editFirstCell(*view);
    for (auto* field : dialog.findChildren<QWidget*>())
        if (isTextField(*field)) {
            field->setFocus();
            QTest::keyClicks(field, QStringLiteral("Scribble"));
        }
    for (auto* box : dialog.findChildren<QCheckBox*>())
        box->toggle();
    for (auto* box : dialog.findChildren<QComboBox*>())
        box->setCurrentIndex((box->currentIndex() + 1) % std::max(box->count(), 1));
    for (auto* box : dialog.findChildren<QAbstractSpinBox*>())
        if (box->text().isEmpty() && box->inherits("QDateEdit"))
            QTest::keyClicks(box, QStringLiteral("1968-03-05")); // One that is not known.
        else
            box->stepUp();
}

// Edits what dialog is open and leaves it; and again, until nothing is open any more.
struct User {
    const Way& way;
    Workplace& place;
    QPointer<QDialog> last = nullptr;
    int dialogsSeen = 0;
    int tries = 0;
    bool isActing = false;
    bool hadToForce = false;

    void act() {
        const QPointer<QDialog> dialog = modalDialog();
        if (!dialog || isActing)
            return;
        const QScopedValueRollback<bool> acting(isActing, true);
        if (dialog != last) {
            ++dialogsSeen;
            tries = 0;
            last = dialog;
            scribble(*dialog);
        }
        constexpr int patience = 20; // Escape may first leave a list or an editor.
        if (dialog && ++tries > patience) {
            hadToForce = true;
            dialog->reject();
        } else if (dialog) {
            way.leave(*dialog, place);
        }
    }
};

std::string leave(const DialogEntry& dialog, const Way& way, Workplace& place) {
    nameCase(std::string(dialog.name) + ", " + way.name);
    const Fingerprint before = place.fingerprint();
    User user{way, place};
    const EveryTurn turns([&] { user.act(); });
    dialog.open(place);
    if (user.dialogsSeen == 0)
        return "no dialog came";
    const bool isChanged = place.fingerprint() != before;
    const bool mayChange = way.takes && dialog.takesOnEnter;
    if (isChanged != mayChange)
        return isChanged ? "data changed" : "nothing took what was entered";
    const bool maySurvive = way.endsOwner && !dialog.hasOwner;
    return user.hadToForce && !maySurvive ? "the dialog stays open" : "";
}

} // namespace

int actDialog(const QStringList& arguments) {
    // The end of a module writes its options; the file shall be there before, as it stays.
    (void)Workplace(QStringLiteral("first"));
    return doCases(arguments, [&](long number) {
        Workplace place(QString::number(number));
        return leave(dialogs[number / wayCount], ways[number % wayCount], place);
    });
}

void faultDialogs(Report& report) {
    report.done(std::to_string(std::size(dialogs)) + " dialogs with every field changed, left in " +
                std::to_string(std::size(ways)) + " ways");
    demandCases(report, "dialog", std::size(dialogs) * std::size(ways),
                "data changed on cancel, dialogs that stay or take nothing");
}
