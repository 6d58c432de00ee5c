#include "AppBase/QtScreenShotData.h"
#include "AppBase/QtScreenShotDialog.h"
#include "Gui/GuiTest.h"
#include "IO/DataIOManager.h"
#include "Settings/vlrSettings.h"

#include <QtCore/QBuffer>
#include <QtCore/QDir>
#include <QtWidgets/QLabel>
#include <QtWidgets/QPushButton>

#include <gmock/gmock.h>

using namespace vlrTest;
using testing::HasSubstr;

namespace {

class PatientServices : public FakeServices {
public:
    DataPointer<Patient> currentPatient() const override { return patient; }

    DataPointer<Patient> patient;
};

// The protected part, for the tests.
class Exposed : public QtScreenShotData {
public:
    using QtScreenShotData::doBinSave;
};

QPixmap picture(const QColor& color = Qt::red, const QSize& size = {301, 201}) {
    QPixmap result(size);
    result.fill(color);
    return result;
}

QByteArray pngOf(const QPixmap& pixmap) {
    QBuffer buffer;
    EXPECT_TRUE(pixmap.save(&buffer, "png"));
    return buffer.data();
}

class ScreenshotTest : public GuiTest {
protected:
    ScreenshotTest() {
        createQtScreenShotDataFactory();
        createPatientFactory();
        window.resize(301, 201);
    }
    ~ScreenshotTest() override { DataIOManager::closeRepository(); }

    QString folder() const { return testFolder() + QStringLiteral("/shots"); }
    void useFolder() {
        ASSERT_EQ(
            vlr::Settings::set(QStringLiteral("Velora/Application/ScreenshotLocation"), folder()),
            CaError::nullError);
    }
    QStringList files() const { return QDir(folder()).entryList(QDir::Files | QDir::Hidden); }
    DataPointer<Patient> makePatient(const QString& name) {
        services.patient = new Patient;
        services.patient->setPatientId(QStringLiteral("7"));
        services.patient->setName(name);
        return services.patient;
    }
    // Takes a screenshot of the window and presses the button.
    void take(Data* item, const char* button, QSize* preview = nullptr) {
        QtScreenShotDialog dialog(item, nullptr);
        inNextDialog<QtScreenShotDialog>([&](QtScreenShotDialog& shown) {
            if (preview)
                *preview = shown.findChild<QLabel*>(QStringLiteral("preview"))
                               ->pixmap(Qt::ReturnByValue)
                               .size();
            for (QPushButton* each : shown.findChildren<QPushButton*>())
                if (each->text() == QLatin1String(button))
                    each->click();
        });
        dialog.grab(&window);
    }
    static DataPointer<QtScreenShotData> screenshotOf(const Data& item, int index = 0) {
        return dataCast<QtScreenShotData>(item.child(index));
    }
    // As the next run of the program finds it.
    static DataPointer<Patient> reload(const DataPointer<Patient>& patient) {
        DataIOManager::closeRepository();
        DataPointer<Patient> loaded;
        EXPECT_EQ(DataIOManager::loadPatient(patient->storageUri(), loaded), CaError::nullError);
        return loaded;
    }

    PatientServices services;
    QWidget window;
};

} // namespace

TEST_F(ScreenshotTest, NamesOfPatientsBecomeNamesOfFiles) {
    useFolder();
    const struct {
        QString name;
        QString file;
    } cases[] = {
        {QStringLiteral("Doe^Jane"), QStringLiteral("Doe^Jane.png")},
        {QStringLiteral("../../etc/passwd"), QStringLiteral("_._.._etc_passwd.png")},
        {QStringLiteral(".."), QStringLiteral("_..png")},
        {QStringLiteral("."), QStringLiteral("_.png")},
        {QStringLiteral("a\\b:c*d?e\"f<g>h|i%j"), QStringLiteral("a_b_c_d_e_f_g_h_i_j.png")},
        {QString::fromUtf8("a\0b\n", 4), QStringLiteral("a_b_.png")},
        {QStringLiteral("  "), QStringLiteral("_.png")},
        {QString::fromUtf8("Zoe\xCC\x88 M\xC3\xBCller"),
         QString::fromUtf8("Zoe\xCC\x88 M\xC3\xBCller.png")},
        {QString::fromUtf8("left\xE2\x80\xAEright"), QStringLiteral("left_right.png")},
        {QString(5000, QLatin1Char('x')), QString(180, QLatin1Char('x')) + QStringLiteral(".png")},
    };
    for (const auto& each : cases) {
        const DataPointer<QtScreenShotData> record(new QtScreenShotData);
        record->setScreenShot(picture(), each.name);
        EXPECT_EQ(files(), QStringList(each.file)) << each.file.toStdString();
        EXPECT_EQ(QImage(folder() + QLatin1Char('/') + each.file).size(), QSize(301, 201));
        QDir(folder()).removeRecursively();
    }
    EXPECT_EQ(QDir(testFolder()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList());

    const QString combining = QString(3000, QChar(0x0301));
    const DataPointer<QtScreenShotData> record(new QtScreenShotData);
    record->setScreenShot(picture(), combining);
    EXPECT_EQ(files().size(), 1) << "bytes count, not characters";
}

TEST_F(ScreenshotTest, TheDefaultFolderIsMade) {
    const DataPointer<Patient> patient = makePatient(QStringLiteral("Doe/Jane"));
    take(patient.get(), "Save");
    const QStringList names =
        QDir(QDir::homePath() + QStringLiteral("/Desktop")).entryList(QDir::Files);
    ASSERT_EQ(names.size(), 1);
    EXPECT_THAT(names.first().toStdString(),
                testing::MatchesRegex("Screenshot_Doe_Jane_[0-9]{8}_[0-9]{6}\\.png"));
}

TEST_F(ScreenshotTest, TheItemTakesTheNameAndTheRecordBelongsToIt) {
    useFolder();
    const DataPointer<Patient> patient = makePatient(QStringLiteral("Jane"));
    QSize preview;
    take(patient.get(), "Save", &preview);
    EXPECT_EQ(preview, QSize(150, 100));
    ASSERT_TRUE(screenshotOf(*patient));
    EXPECT_EQ(screenshotOf(*patient)->id(), QStringLiteral("SCD_") + patient->id());
    EXPECT_EQ(files(), QStringList(patient->id() + QStringLiteral(".png")));
    EXPECT_EQ(screenshotOf(*patient)->screenShot().size(), QSize(301, 201));
    take(patient.get(), "Cancel");
    EXPECT_EQ(patient->childCount(), 1);
    EXPECT_EQ(files().size(), 1);
}

TEST_F(ScreenshotTest, ScreenshotsOfOneSecondAreAllKept) {
    useFolder();
    const DataPointer<Patient> patient = makePatient(QStringLiteral("Jane"));
    for (int i = 0; i < 4; ++i)
        take(patient.get(), "Save");
    EXPECT_EQ(patient->childCount(), 4);
    EXPECT_EQ(files().size(), 4);

    const DataPointer<QtScreenShotData> other(new QtScreenShotData);
    for (const QColor color : {Qt::green, Qt::blue})
        other->setScreenShot(picture(color), QStringLiteral("same"));
    EXPECT_EQ(QImage(folder() + QStringLiteral("/same.png")).pixelColor(0, 0), QColor(Qt::green));
    EXPECT_EQ(QImage(folder() + QStringLiteral("/same_2.png")).pixelColor(0, 0), QColor(Qt::blue));
}

TEST_F(ScreenshotTest, WithoutNamePictureOrItemNoFileIsWritten) {
    useFolder();
    const DataPointer<QtScreenShotData> record(new QtScreenShotData);
    record->saveImage(QStringLiteral("empty"));
    record->setScreenShot(picture());
    record->saveImage({});
    take(nullptr, "Save");
    EXPECT_FALSE(QDir(folder()).exists());
}

TEST_F(ScreenshotTest, AFolderThatCannotBeWrittenToLeavesTheRecord) {
    useFolder();
    ASSERT_TRUE(QDir().mkpath(folder()));
    const DataPointer<Patient> patient = makePatient(QStringLiteral("Jane"));
    expectLog(vlr::LogLevel::Error,
              "Saving of screenshot '" + folder().toStdString() + "/Screenshot_Jane_");
    {
        const ReadOnlyFolder closed(folder());
        take(patient.get(), "Save");
    }
    EXPECT_EQ(files(), QStringList());
    ASSERT_TRUE(screenshotOf(*patient));
    EXPECT_FALSE(screenshotOf(*patient)->screenShot().isNull());
}

TEST_F(ScreenshotTest, AFullDiskLeavesNoHalfFile) {
    useFolder();
    const DataPointer<QtScreenShotData> record(new QtScreenShotData);
    expectLog(vlr::LogLevel::Error, "Saving of screenshot '");
    const FullDisk full;
    record->setScreenShot(picture(), QStringLiteral("x"));
    EXPECT_EQ(files(), QStringList());
}

TEST_F(ScreenshotTest, ThePictureIsStoredWithThePatient) {
    useFolder();
    const DataPointer<Patient> patient = makePatient(QStringLiteral("Jane"));
    const DataPointer<QtScreenShotData> record(new QtScreenShotData);
    record->setId(QStringLiteral("SCD_first"));
    record->setScreenShot(picture(Qt::green));
    ASSERT_EQ(patient->addChild(record, true), CaError::nullError);
    ASSERT_EQ(DataIOManager::storePatient(patient), CaError::nullError);

    DataPointer<Patient> loaded = reload(patient);
    ASSERT_TRUE(loaded && screenshotOf(*loaded));
    EXPECT_EQ(screenshotOf(*loaded)->id(), QLatin1String("SCD_first"));
    EXPECT_EQ(screenshotOf(*loaded)->screenShot().toImage().pixelColor(5, 5), QColor(Qt::green));
    QImage small;
    EXPECT_EQ(screenshotOf(*loaded)->readImage(small, {100, 100}), CaError::nullError);
    EXPECT_EQ(small.size(), QSize(100, 66).expandedTo(small.size())) << "the aspect ratio is kept";
    EXPECT_LE(small.height(), 67);

    // Storing again does not lose it, a copy has it, and another picture takes its place.
    ASSERT_EQ(DataIOManager::storePatient(loaded), CaError::nullError);
    const DataPointer<QtScreenShotData> copy(new QtScreenShotData(*screenshotOf(*loaded)));
    EXPECT_EQ(copy->screenShot().size(), QSize(301, 201));
    screenshotOf(*loaded)->setScreenShot(picture(Qt::blue));
    ASSERT_EQ(DataIOManager::storePatient(loaded), CaError::nullError);
    loaded = reload(loaded);
    EXPECT_EQ(screenshotOf(*loaded)->screenShot().toImage().pixelColor(5, 5), QColor(Qt::blue));
}

TEST_F(ScreenshotTest, WithoutAPlaceThePictureIsNotStored) {
    const DataPointer<Exposed> record(new Exposed);
    EXPECT_EQ(record->doBinSave(), CaError::nullError) << "there is nothing to store";
    record->setScreenShot(picture());
    EXPECT_THAT(record->doBinSave().text(), HasSubstr("QtScreenShotData: No URI found."));
}

TEST_F(ScreenshotTest, WhatIsNoPictureGivesTheReason) {
    const struct {
        QByteArray bytes;
        const char* reason;
    } cases[] = {
        {"These are not the bytes you look for.", "no PNG image"},
        {{}, "no PNG image"},
        // The header claims 60,000 x 60,000 pixels.
        {QByteArray::fromBase64(
             "iVBORw0KGgoAAAANSUhEUgAA6mAAAOpgCAAAAACluSqeAAAADElEQVR4nGNgoD0AAAB"
             "kAAGGZDw1AAAAAElFTkSuQmCC"),
         "60000 x 60000 pixels needs"},
        // The last chunk is missing, and with it nobody knows what else.
        {pngOf(picture()).chopped(12), "is cut off"},
    };
    const DataPointer<Patient> patient = makePatient(QStringLiteral("Jane"));
    for (const auto& each : cases) {
        const DataPointer<QtScreenShotData> record(new QtScreenShotData);
        record->setBinaryPart(QStringLiteral("screenShot"), each.bytes);
        ASSERT_EQ(patient->addChild(record, true), CaError::nullError);
    }
    ASSERT_EQ(DataIOManager::storePatient(patient), CaError::nullError);
    const DataPointer<Patient> loaded = reload(patient);
    for (int i = 0; i < loaded->childCount(); ++i) {
        QImage image;
        EXPECT_THAT(screenshotOf(*loaded, i)->readImage(image, {10, 10}).text(),
                    HasSubstr(cases[i].reason));
        EXPECT_TRUE(image.isNull());
        EXPECT_TRUE(screenshotOf(*loaded, i)->screenShot().isNull());
    }
}
