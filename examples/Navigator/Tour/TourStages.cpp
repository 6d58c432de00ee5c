#include "Tour/TourStages.h"

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
#include <QtWidgets/QPushButton>
#include <QtWidgets/QTableView>

namespace {

const QString firstId = QStringLiteral("0000001");
const QString firstName = QStringLiteral("Vermeer, Johanna");
const QString secondName =
    QStringLiteral("Wolfeschlegelsteinhausenbergerdorff-Montgomery-Castellanos, Maximiliana "
                   "Alexandrina Theodora");

QString seriesFolder() {
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) +
           QStringLiteral("/tour series");
}

// Four images, the third of which was cut off on its way here.
void makeSeries(const TourActions& actions) {
    actions.expect(QDir().mkpath(seriesFolder()), "the series cannot be made");
    for (int i = 1; i <= 4; ++i) {
        QImage image(320, 240, QImage::Format_Grayscale8);
        image.fill(i * 20);
        QPainter painter(&image);
        painter.setBrush(Qt::gray);
        painter.drawEllipse(QPoint(160, 120), 20 + 15 * i, 30 + 15 * i);
        painter.end();
        const QString path = QStringLiteral("%1/series_%2.png").arg(seriesFolder()).arg(i);
        actions.expect(image.save(path), "the series cannot be made");
        if (i == 3)
            QFile::resize(path, 100);
    }
}

// --- patients

void enterBirthDate(TourActions& actions, const QString& typed) {
    auto* birthDate = actions.find<QDateEdit>("patientBirthDate");
    birthDate->setFocus();
    birthDate->setSelectedSection(QDateTimeEdit::DaySection);
    actions.type(birthDate, typed);
}

void enterFirstPatient(TourActions& actions) {
    actions.expectText<QLineEdit>("patientId", firstId);
    actions.picture("02-new-patient");
    actions.click("save");
    actions.expect(actions.find("nameMessage")->isVisible(), "nothing asks for the name");
    actions.picture("03-name-missing");

    actions.type(actions.find("patientName"), firstName);
    actions.key(actions.find("patientSex"), Qt::Key_Down);
    enterBirthDate(actions, QStringLiteral("05Mar1968"));
    actions.expect(actions.find<QComboBox>("patientSex")->currentText() == QLatin1String("Female"),
                   "the sex cannot be chosen by key");
    actions.expect(actions.find<QDateEdit>("patientBirthDate")->date() == QDate(1968, 3, 5),
                   "the date of birth cannot be typed");
    actions.picture("04-form-filled-in");
    actions.click("save");
}

void enterSecondPatient(TourActions& actions) {
    auto* const id = actions.find<QLineEdit>("patientId");
    id->selectAll();
    actions.type(id, firstId);
    actions.type(actions.find("patientName"), secondName);
    actions.click("save");
    actions.expect(actions.find("idMessage")->isVisible(), "an id is given twice");
    actions.picture("11-id-taken");
    actions.click("useFreeId");
    actions.click("save");
}

void makeCurrentByKey(TourActions& actions, const QString& name) {
    actions.key(actions.window()->findChild<QTableView*>(), Qt::Key_Return);
    actions.waitFor([&] { return actions.find("currentPatientName")->accessibleName() == name; },
                    "the current patient " + name.toStdString());
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
}

// --- images

void expectSlice(TourActions& actions, int slice, int count) {
    actions.expectText<QLabel>("slicePosition",
                               QStringLiteral("Slice %1 of %2").arg(slice).arg(count));
}

void phantomStations(TourActions& actions) {
    actions.click("nextStep");
    expectSlice(actions, 65, 128);
    actions.picture("07-example-images");
    QWidget* const view = actions.find("sliceView");
    for (const auto key : {Qt::Key_Home, Qt::Key_PageDown, Qt::Key_PageDown, Qt::Key_Down})
        actions.key(view, key);
    expectSlice(actions, 22, 128);
    actions.turnWheel(view, 20);
    expectSlice(actions, 42, 128);
    actions.picture("08-slice-by-wheel");
}

void folderStations(TourActions& actions) {
    makeSeries(actions);
    actions.inDialog([&] { actions.click("openFolder"); },
                     [&](QWidget*) {
                         auto* const name = actions.find<QLineEdit>("fileNameEdit");
                         name->selectAll();
                         actions.type(name, seriesFolder());
                         actions.picture("09-open-folder");
                         actions.key(name, Qt::Key_Return);
                     });
    expectSlice(actions, 1, 4);
    QWidget* const view = actions.find("sliceView");
    actions.key(view, Qt::Key_Right);
    actions.key(view, Qt::Key_Right);
    expectSlice(actions, 3, 4);
    actions.expect(actions.find<QListWidget>("problems")->count() == 1,
                   "the broken file is not reported");
    actions.picture("10-broken-image");
}

// --- further stations

void smallWindowStations(TourActions& actions) {
    actions.click("previousStep");
    actions.inDialog([&] { actions.click("newPatient"); },
                     [&](QWidget*) { enterSecondPatient(actions); });
    actions.expectText<QLabel>("patientCount", QStringLiteral("Patients: 2"));
    makeCurrentByKey(actions, secondName);
    actions.picture("12-long-name");
    const QSize size = actions.window()->size();
    actions.window()->resize(800, 600);
    actions.waitFor([&] { return actions.window()->size() == QSize(800, 600); }, "a small window");
    actions.picture("13-small-window");
    actions.click("nextStep");
    expectSlice(actions, 3, 4);
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
    makeCurrentByKey(actions, firstName);
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

void exitStations(TourActions& actions) {
    answerExitQuestion(
        actions, [&] { actions.click("Exit"); }, QMessageBox::No, "16-exit-question");
    actions.expect(actions.window()->isVisible(), "the window went at \"No\"");
    answerExitQuestion(
        actions, [&] { actions.window()->close(); }, QMessageBox::Yes);
}

void secondStart(TourActions& actions) {
    actions.expectText<QLabel>("patientCount", QStringLiteral("Patients: 2"));
    actions.expectText<QLabel>("currentPatientName", QStringLiteral("No patient chosen"));
    actions.expect(actions.find("makeCurrent")->isEnabled(), "no patient is selected");
    actions.picture("17-second-start");
    makeCurrentByKey(actions, firstName);
    actions.click("nextStep");
    expectSlice(actions, 3, 4);
    actions.picture("18-same-slice");
    answerExitQuestion(
        actions, [&] { actions.click("Exit"); }, QMessageBox::Yes);
}

} // namespace

void runTourStage(int stage, TourActions& actions) {
    if (stage == 2) {
        secondStart(actions);
        return;
    }
    patientStations(actions);
    phantomStations(actions);
    folderStations(actions);
    smallWindowStations(actions);
    searchStations(actions);
    exitStations(actions);
}
