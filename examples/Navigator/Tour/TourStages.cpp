#include "Tour/TourStages.h"

#include "AppBase/AppBase.h"
#include "AppBase/QtModuleSelector.h"
#include "Common/Selector.h"
#include "Tour/ReviewStations.h"
#include "Tour/TouchStations.h"
#include "Tour/TrackingStations.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QStandardPaths>
#include <QtGui/QPainter>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QDateEdit>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QListWidget>
#include <QtWidgets/QMessageBox>
#include <QtWidgets/QProgressDialog>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QTabWidget>
#include <QtWidgets/QTableView>

namespace {

const QString firstId = QStringLiteral("0000000");
const QString firstName = QStringLiteral("Vermeer, Johanna");
const QString secondName =
    QStringLiteral("Wolfeschlegelsteinhausenbergerdorff-Montgomery-Castellanos, Maximiliana "
                   "Alexandrina Theodora");

QString seriesFolder() {
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) +
           QStringLiteral("/tour series");
}

QString unequalFolder() {
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) +
           QStringLiteral("/unequal images");
}

// Four images, the third of which was cut off on its way here.
void makeSeries(const TourActions& actions, const QString& folder, const QSize& lastSize) {
    actions.expect(QDir().mkpath(folder), "the series cannot be made");
    for (int i = 1; i <= 4; ++i) {
        QImage image(i == 4 ? lastSize : QSize(320, 240), QImage::Format_Grayscale8);
        image.fill(uint(i * 20));
        QPainter painter(&image);
        painter.setBrush(Qt::gray);
        painter.drawEllipse(QPoint(160, 120), 20 + 15 * i, 30 + 15 * i);
        painter.end();
        const QString path = QStringLiteral("%1/series_%2.png").arg(folder).arg(i);
        actions.expect(image.save(path), "the series cannot be made");
        if (i == 3)
            QFile::resize(path, 100);
    }
}

// --- patients

void enterBirthDate(TourActions& actions, const QString& typed) {
    auto* birthDate = actions.find<QDateEdit>("patientBirthDate");
    birthDate->setFocus();
    actions.type(birthDate, typed);
}

void enterFirstPatient(TourActions& actions) {
    actions.expectText<QLineEdit>("patientId", firstId);
    actions.picture("02-new-patient");
    actions.click("ok");
    actions.expect(actions.find("nameMessage")->isVisible(), "nothing asks for the name");
    actions.picture("03-name-missing");

    actions.type(actions.find("patientName"), firstName);
    for (int i = 0; i < 2; ++i)
        actions.key(actions.find("patientSex"), Qt::Key_Down);
    enterBirthDate(actions, QStringLiteral("05Mar1968"));
    actions.expect(actions.find<QComboBox>("patientSex")->currentText() == QLatin1String("Female"),
                   "the sex cannot be chosen by key");
    actions.expect(actions.find<QDateEdit>("patientBirthDate")->date() == QDate(1968, 3, 5),
                   "the date of birth cannot be typed");
    actions.picture("04-form-filled-in");
    actions.click("ok");
}

void enterSecondPatient(TourActions& actions) {
    auto* const id = actions.find<QLineEdit>("patientId");
    id->selectAll();
    actions.type(id, firstId);
    actions.type(actions.find("patientName"), secondName);
    actions.click("ok");
    actions.expect(actions.find("idMessage")->isVisible(), "an id is given twice");
    actions.picture("11-id-taken");
    actions.click("useFreeId");
    actions.click("ok");
}

void expectCurrent(TourActions& actions, const QString& name) {
    actions.waitFor([&] { return actions.find("currentPatientName")->accessibleName() == name; },
                    "the current patient " + name.toStdString());
}

void makeCurrentByKey(TourActions& actions, const QString& name) {
    actions.key(actions.window()->findChild<QTableView*>(), Qt::Key_Return);
    expectCurrent(actions, name);
}

// With images open for the former one, which are closed.
void changePatientByKey(TourActions& actions, const QString& formerName, const QString& name) {
    actions.inDialog(
        [&] { actions.key(actions.window()->findChild<QTableView*>(), Qt::Key_Return); },
        [&](QWidget* dialog) {
            auto* const question = qobject_cast<QMessageBox*>(dialog);
            actions.expect(question && question->text().contains(formerName.left(20)) &&
                               question->text().contains(name.left(20)),
                           "nobody asks whether the images may be closed");
            // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): expect() has thrown otherwise
            actions.click(question->button(QMessageBox::Yes));
        });
    expectCurrent(actions, name);
    actions.click("nextStep");
    actions.expect(!actions.find("sliceView")->accessibleName().contains(QLatin1Char('/')),
                   "images stay open for another patient");
    actions.click("previousStep");
}

void studyStations(TourActions& actions) {
    auto* const studies = actions.find<QListWidget>("studies");
    actions.expect(studies->count() == 0, "there is a study nobody entered");
    actions.inDialog([&] { actions.click("newStudy"); },
                     [&](QWidget* dialog) {
                         actions.type(actions.find("studyInstitution"),
                                      QStringLiteral("St. Luke, operating theatre 3"));
                         actions.picture("06a-new-study");
                         actions.key(dialog->focusWidget(), Qt::Key_Return);
                     });
    actions.expect(studies->count() == 1, "the study is not listed");
    actions.picture("06b-study-stored");
    actions.inDialog([&] { actions.click("editPatient"); },
                     [&](QWidget* dialog) {
                         actions.expect(actions.find<QLineEdit>("patientId")->isReadOnly(),
                                        "an id can be changed");
                         actions.picture("06c-edit-patient");
                         actions.key(dialog, Qt::Key_Escape);
                     });
}

void patientStations(TourActions& actions) {
    actions.expectText<QLabel>("patientCount", QStringLiteral("Patients: 0"));
    actions.expectText<QLabel>("currentPatientName", QStringLiteral("No patient chosen"));
    actions.expect(!actions.find("makeCurrent")->isEnabled(), "nobody can be made current");
    actions.picture("01-start");
    actions.inDialog([&] { actions.click("newPatient"); },
                     [&](QWidget*) { enterFirstPatient(actions); });
    actions.expectText<QLabel>("patientCount", QStringLiteral("Patients: 1"));
    actions.expect(actions.find("makeCurrent")->isEnabled(), "the new patient is not selected");
    actions.picture("05-patient-stored");
    makeCurrentByKey(actions, firstName);
    actions.picture("06-current-patient");
    studyStations(actions);
}

// --- images

void expectSlice(TourActions& actions, int slice, int count) {
    actions.expectText<QLabel>("slicePosition",
                               QStringLiteral("Slice %1 of %2").arg(slice).arg(count));
}

void expectVolumeSlice(TourActions& actions, const char* view, int slice, int count) {
    const QString text = QStringLiteral("slice %1 / %2").arg(slice).arg(count);
    actions.waitFor(
        [&] {
            const auto* const shown =
                actions.window()->findChild<QWidget*>(QString::fromLatin1(view));
            return shown && shown->isVisible() && shown->accessibleName().endsWith(text);
        },
        std::string(view) + " with " + text.toStdString());
}

void phantomStations(TourActions& actions) {
    actions.click("nextStep");
    expectVolumeSlice(actions, "axialView", 65, 128);
    actions.picture("07-example-images");
    QWidget* const view = actions.find("axialView");
    for (const auto key : {Qt::Key_Home, Qt::Key_PageDown, Qt::Key_PageDown, Qt::Key_Down})
        actions.key(view, key);
    expectVolumeSlice(actions, "axialView", 22, 128);
    actions.turnWheel(view, 26);
    expectVolumeSlice(actions, "axialView", 48, 128);
    actions.turnWheel(actions.find("coronalView"), 20);
    expectVolumeSlice(actions, "coronalView", 85, 128);
    actions.click("sagittalView");
    actions.picture("08-slice-by-wheel");
}

void comparisonStations(TourActions& actions) {
    actions.click("nextStep");
    actions.expect(actions.find("coronalView")->isVisible(), "there is nothing to compare with");
    actions.picture("08a-two-planes-compared");
    actions.click("nextStep");
    actions.key(actions.find("enlargeCoronal"), Qt::Key_Space);
    actions.expect(actions.find("coronalView")->isVisible(), "the plane is not enlarged");
    actions.picture("08b-one-plane-enlarged");
    actions.click("nextStep");
    trackingStations(actions);
    for (int i = 0; i < 3; ++i)
        actions.click("previousStep");
}

void openFolderByName(TourActions& actions, const QString& folder, const char* pictureName) {
    actions.inDialog([&] { actions.click("openFolder"); },
                     [&](QWidget*) {
                         auto* const name = actions.find<QLineEdit>("fileNameEdit");
                         name->selectAll();
                         actions.type(name, folder);
                         if (pictureName)
                             actions.picture(pictureName);
                         actions.key(name, Qt::Key_Return);
                     });
}

void openSeries(TourActions& actions) {
    openFolderByName(actions, seriesFolder(), nullptr);
    QWidget* const view = actions.find("axialView");
    for (const auto key : {Qt::Key_Home, Qt::Key_Right, Qt::Key_Right})
        actions.key(view, key);
    expectVolumeSlice(actions, "axialView", 3, 4);
}

void folderStations(TourActions& actions) {
    makeSeries(actions, unequalFolder(), {240, 320});
    openFolderByName(actions, unequalFolder(), "09-open-folder");
    expectSlice(actions, 1, 4);
    actions.expect(actions.find("volumeReason")->isVisible(), "nobody says why it is no volume");
    actions.picture("09a-not-a-volume");

    makeSeries(actions, seriesFolder(), {320, 240});
    openSeries(actions);
    actions.expect(actions.find<QListWidget>("problems")->count() == 1,
                   "the broken file is not reported");
    actions.picture("10-broken-image");
}

// --- what the user is told and shown meanwhile

// A folder large enough that listing it takes its time.
QString makeLargeFolder(const TourActions& actions) {
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) +
                           QStringLiteral("/large folder");
    actions.expect(QDir().mkpath(folder), "the large folder cannot be made");
    const QString first = folder + QStringLiteral("/0.png");
    QImage image(64, 64, QImage::Format_Grayscale8);
    image.fill(100);
    actions.expect(image.save(first), "the large folder cannot be made");
    for (int i = 1; i < 15000; ++i)
        QFile::link(first, QStringLiteral("%1/%2.png").arg(folder).arg(i));
    return folder;
}

// Opens the folder and drives the dialog that this brings up.
void openFolder(TourActions& actions, const QString& folder,
                const std::function<bool(QWidget*)>& drive) {
    const auto choose = [&](QWidget*) {
        auto* const name = actions.find<QLineEdit>("fileNameEdit");
        name->selectAll();
        actions.type(name, folder);
        actions.key(name, Qt::Key_Return);
        return true;
    };
    actions.inDialogs([&] { actions.click("openFolder"); }, {choose, drive});
}

void progressStations(TourActions& actions) {
    openFolder(actions, makeLargeFolder(actions), [&](QWidget* dialog) {
        auto* const progress = qobject_cast<QProgressDialog*>(dialog);
        if (!progress || progress->value() < progress->maximum() / 3)
            return false;
        actions.picture("16-progress");
        actions.click(progress->findChild<QPushButton*>());
        return true;
    });
    expectVolumeSlice(actions, "axialView", 3, 4);
}

void messageStations(TourActions& actions) {
    const QString folder = seriesFolder() + QStringLiteral("/empty");
    actions.expect(QDir().mkpath(folder), "the folder cannot be made");
    openFolder(actions, folder, [&](QWidget* dialog) {
        auto* const box = qobject_cast<QMessageBox*>(dialog);
        if (!box)
            return false;
        actions.picture("17-message");
        actions.click(box->button(QMessageBox::Ok));
        return true;
    });
    expectVolumeSlice(actions, "axialView", 3, 4);
}

void selectorStations(TourActions& actions, AppBase& application) {
    for (const QString& kind : selectorKinds()) {
        application.setModuleSelector(makeSelector(kind));
        if (kind != QLatin1String("none"))
            actions.picture(("18-selector-" + kind.toStdString()).c_str());
    }
    application.setModuleSelector(makeSelector(selectorKinds().first()));
}

// --- further stations

void smallWindowStations(TourActions& actions) {
    actions.click("previousStep");
    actions.inDialog([&] { actions.click("newPatient"); },
                     [&](QWidget*) { enterSecondPatient(actions); });
    actions.expectText<QLabel>("patientCount", QStringLiteral("Patients: 2"));
    changePatientByKey(actions, firstName, secondName);
    actions.picture("12-long-name");
    const QSize size = actions.window()->size();
    actions.window()->resize(800, 600);
    actions.waitFor([&] { return actions.window()->size() == QSize(800, 600); }, "a small window");
    actions.picture("13-small-window");
    actions.click("nextStep");
    openSeries(actions);
    actions.picture("14-images-in-a-small-window");
    actions.click("previousStep");
    actions.window()->resize(size);
    actions.waitFor([&] { return actions.window()->size() == size; }, "a large window");
}

void searchStations(TourActions& actions) {
    QWidget* const search = actions.find("searchPatients");
    actions.type(search, QStringLiteral("verm"));
    actions.expectText<QLabel>("patientCount", QStringLiteral("Patients: 1 of 2"));
    actions.picture("15-search");
    actions.key(search, Qt::Key_Return);
    changePatientByKey(actions, secondName, firstName);
}

void answerExitQuestion(TourActions& actions, const std::function<void()>& ask,
                        QMessageBox::StandardButton answer, const char* pictureName = nullptr) {
    actions.inDialog(ask, [&](QWidget* dialog) {
        auto* question = qobject_cast<QMessageBox*>(dialog);
        actions.expect(question, "leaving is not asked about");
        if (pictureName)
            actions.picture(pictureName);
        actions.click(question->button(answer));
    });
}

void settingsStation(TourActions& actions, AppBase& application) {
    actions.inDialog([&] { application.requestSystemConfig(); },
                     [&](QWidget* dialog) {
                         actions.picture("19-settings-editor");
                         dialog->close();
                     });
}

void configurationStations(TourActions& actions) {
    const char* const names[] = {"19a-application-configuration", "19b-module-general-options",
                                 "19c-module-configuration"};
    const auto visitTabs = [&](QWidget* dialog) {
        auto* const tabs = dialog->findChild<QTabWidget*>();
        actions.expect(tabs && tabs->count() == 3, "a tab is missing");
        // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): expect() has thrown otherwise
        for (int i = 0; i < tabs->count(); ++i) {
            tabs->setCurrentIndex(i);
            actions.picture(names[i]);
        }
        const auto seeAbout = [&](QWidget* about) {
            if (about == dialog)
                return false;
            actions.picture("19d-about");
            actions.click("ok");
            return true;
        };
        actions.inDialogs([&] { actions.click("about"); }, {seeAbout});
        actions.click("cancel");
    };
    actions.inDialog([&] { actions.click("Configure"); }, visitTabs);
}

void furtherStations(TourActions& actions, AppBase& application) {
    actions.click("nextStep");
    openSeries(actions);
    progressStations(actions);
    messageStations(actions);
    selectorStations(actions, application);
    settingsStation(actions, application);
    configurationStations(actions);
    actions.click("previousStep");
}

void exitStations(TourActions& actions) {
    answerExitQuestion(
        actions, [&] { actions.click("Exit"); }, QMessageBox::No, "20-exit-question");
    actions.expect(actions.window()->isVisible(), "the window went at \"No\"");
    answerExitQuestion(
        actions, [&] { actions.window()->close(); }, QMessageBox::Yes);
}

void secondStart(TourActions& actions) {
    actions.expectText<QLabel>("patientCount", QStringLiteral("Patients: 2"));
    actions.expectText<QLabel>("currentPatientName", QStringLiteral("No patient chosen"));
    actions.expect(actions.find("makeCurrent")->isEnabled(), "no patient is selected");
    actions.picture("21-second-start");
    makeCurrentByKey(actions, firstName);
    actions.click("nextStep");
    expectVolumeSlice(actions, "axialView", 3, 4);
    actions.picture("22-same-slice");
    answerExitQuestion(
        actions, [&] { actions.click("Exit"); }, QMessageBox::Yes);
}

} // namespace

void runTourStage(int stage, TourActions& actions, AppBase& application) {
    if (stage == 2) {
        secondStart(actions);
        return;
    }
    patientStations(actions);
    phantomStations(actions);
    comparisonStations(actions);
    touchStations(actions, application);
    folderStations(actions);
    smallWindowStations(actions);
    searchStations(actions);
    reviewStations(actions);
    furtherStations(actions, application);
    exitStations(actions);
}
