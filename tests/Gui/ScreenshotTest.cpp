#include "AppBase/Dialogs/QtScreenShotDialog.h"
#include "AppBase/QtScreenShotData.h"
#include "Gui/GuiTest.h"

#include <QtCore/QBuffer>
#include <QtCore/QDir>

using namespace vlrTest;

namespace {

// The protected part, for the tests.
struct Exposed : QtScreenShotData {
    using QtScreenShotData::doBinSave;
};

QPixmap picture(const QColor& color = Qt::red) {
    QPixmap result(301, 201);
    result.fill(color);
    return result;
}

QByteArray pngOf(const QPixmap& pixmap) {
    QBuffer buffer;
    EXPECT_TRUE(pixmap.save(&buffer, "png"));
    return buffer.data();
}

struct ScreenshotTest : GuiTest {
    ScreenshotTest() {
        createQtScreenShotDataFactory();
        createPatientFactory();
        setting("ScreenshotLocation", folder());
        window.resize(301, 201);
        services.patient = patient;
    }
    ~ScreenshotTest() override { DataIOManager::closeRepository(); }

    QString folder() const { return testFolder() + "/shots"_s; }
    QStringList files() const { return QDir(folder()).entryList(QDir::Files | QDir::Hidden); }
    // Takes a screenshot of the window and presses the button.
    void take(Data* item, const char* button, QSize* preview = nullptr) {
        QtScreenShotDialog dialog(item, nullptr);
        inNextDialog<QtScreenShotDialog>([&](QtScreenShotDialog& shown) {
            const bool isDescribed =
                !shown.findChild<QPushButton*>("save"_s)->accessibleDescription().isEmpty();
            EXPECT_EQ(isDescribed, !item) << "what \"Save\" will not do";
            if (preview)
                *preview = shown.findChild<QLabel*>("preview"_s)->pixmap(Qt::ReturnByValue).size();
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
        return loadPatient(*patient);
    }

    FakeServices services;
    DataPointer<Patient> patient = makePatient("7", "Jane");
    QWidget window;
};

} // namespace

TEST_F(ScreenshotTest, NamesOfPatientsBecomeNamesOfFiles) {
    const std::pair<QString, QString> cases[] = {
        {"Doe^Jane"_s, "Doe^Jane.png"_s},
        {"../../etc/passwd"_s, "_._.._etc_passwd.png"_s},
        {".."_s, "_..png"_s},
        {"a\\b:c*d?e\"f<g>h|i%j"_s, "a_b_c_d_e_f_g_h_i_j.png"_s},
        {QString::fromUtf8("a\0b\n", 4), "a_b_.png"_s},
        {"M\xC3\xBCller"_s, "M\xC3\xBCller.png"_s},
        {QString(5000, QLatin1Char('x')), QString(180, QLatin1Char('x')) + ".png"_s},
    };
    for (const auto& [name, file] : cases) {
        const DataPointer<QtScreenShotData> record(new QtScreenShotData);
        record->setScreenShot(picture(), name);
        EXPECT_EQ(files(), QStringList(file)) << file.toStdString();
        EXPECT_EQ(QImage(folder() + QLatin1Char('/') + file).size(), QSize(301, 201));
        QDir(folder()).removeRecursively();
    }
    EXPECT_EQ(QDir(testFolder()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList());
}

TEST_F(ScreenshotTest, TheDefaultFolderIsMade) {
    ASSERT_EQ(vlr::Settings::remove("Velora/Application/ScreenshotLocation"_s), CaError::nullError);
    patient->setName("Doe/Jane"_s);
    take(patient.get(), "Save");
    const QStringList names = QDir(QDir::homePath() + "/Desktop"_s).entryList(QDir::Files);
    ASSERT_EQ(names.size(), 1);
    EXPECT_THAT(names.first().toStdString(),
                testing::MatchesRegex("Screenshot_Doe_Jane_[0-9]{8}_[0-9]{6}\\.png"));
}

TEST_F(ScreenshotTest, TheItemTakesTheNameAndTheRecordsBelongToIt) {
    QSize preview;
    take(patient.get(), "Save", &preview);
    EXPECT_EQ(preview, QSize(150, 100));
    ASSERT_TRUE(screenshotOf(*patient));
    EXPECT_EQ(screenshotOf(*patient)->id(), "SCD_"_s + patient->id());
    EXPECT_EQ(screenshotOf(*patient)->screenShot().size(), QSize(301, 201));
    EXPECT_EQ(files(), QStringList(patient->id() + ".png"_s));
    take(patient.get(), "Cancel");
    EXPECT_EQ(patient->childCount(), 1);
    EXPECT_EQ(files().size(), 1);

    // Those of one second are all kept.
    for (int i = 0; i < 3; ++i)
        take(patient.get(), "Save");
    EXPECT_EQ(patient->childCount(), 4);
    EXPECT_EQ(files().size(), 4);
    const DataPointer<QtScreenShotData> other(new QtScreenShotData);
    for (const QColor color : {Qt::green, Qt::blue})
        other->setScreenShot(picture(color), "same"_s);
    EXPECT_EQ(QImage(folder() + "/same.png"_s).pixelColor(0, 0), QColor(Qt::green));
    EXPECT_EQ(QImage(folder() + "/same_2.png"_s).pixelColor(0, 0), QColor(Qt::blue));
}

TEST_F(ScreenshotTest, NothingIsStoredWithoutNamePicturePlaceOrItem) {
    const DataPointer<Exposed> record(new Exposed);
    record->saveImage("empty"_s);
    EXPECT_EQ(record->doBinSave(), CaError::nullError) << "there is nothing to store";
    record->setScreenShot(picture());
    record->saveImage({});
    EXPECT_THAT(record->doBinSave().text(), HasSubstr("QtScreenShotData: No URI found."));
    take(nullptr, "Save");
    EXPECT_FALSE(QDir(folder()).exists());
}

TEST_F(ScreenshotTest, AFileThatCannotBeWrittenLeavesTheRecordAndNoHalfFile) {
    ASSERT_TRUE(QDir().mkpath(folder()));
    expectLog(LogLevel::UserError, "its file could not be written.\nReason: ");
    const std::string message =
        "Saving of screenshot '" + folder().toStdString() + "/Screenshot_Jane_";
    expectLog(LogLevel::Error, message);
    {
        const ReadOnlyFolder closed(folder());
        take(patient.get(), "Save");
    }
    {
        const FullDisk full;
        take(patient.get(), "Save");
    }
    EXPECT_EQ(logCount(LogLevel::Error, message), 2);
    EXPECT_EQ(logCount(LogLevel::UserError, "/Screenshot_Jane_"), 2);
    EXPECT_EQ(files(), QStringList());
    ASSERT_EQ(patient->childCount(), 2);
    for (int i = 0; i < 2; ++i)
        EXPECT_FALSE(screenshotOf(*patient, i)->screenShot().isNull());
}

TEST_F(ScreenshotTest, ThePictureIsStoredWithThePatient) {
    const DataPointer<QtScreenShotData> record(new QtScreenShotData);
    record->setId("SCD_first"_s);
    record->setScreenShot(picture(Qt::green));
    ASSERT_EQ(patient->addChild(record, true), CaError::nullError);
    ASSERT_EQ(DataIOManager::storePatient(patient), CaError::nullError);

    DataPointer<Patient> loaded = reload(patient);
    ASSERT_TRUE(loaded && screenshotOf(*loaded));
    EXPECT_EQ(screenshotOf(*loaded)->id(), "SCD_first"_s);
    EXPECT_EQ(screenshotOf(*loaded)->screenShot().toImage().pixelColor(5, 5), QColor(Qt::green));

    // Storing again does not lose it, a copy has it, and another picture takes its place.
    ASSERT_EQ(DataIOManager::storePatient(loaded), CaError::nullError);
    const DataPointer<QtScreenShotData> copy(new QtScreenShotData(*screenshotOf(*loaded)));
    EXPECT_EQ(copy->screenShot().size(), QSize(301, 201));
    screenshotOf(*loaded)->setScreenShot(picture(Qt::blue));
    ASSERT_EQ(DataIOManager::storePatient(loaded), CaError::nullError);
    loaded = reload(loaded);
    EXPECT_EQ(screenshotOf(*loaded)->screenShot().toImage().pixelColor(5, 5), QColor(Qt::blue));
}

TEST_F(ScreenshotTest, OnceItIsStoredOnlyThePngStaysAndIsFoundEverywhere) {
    const DataPointer<Exposed> record(new Exposed);
    const QPixmap original = picture(Qt::green);
    record->setScreenShot(original);
    EXPECT_EQ(record->screenShot().cacheKey(), original.cacheKey());
    EXPECT_TRUE(record->hasUnstoredBinaryParts());
    const auto hasPicture = [&] {
        const DataPointer<QtScreenShotData> copy(new QtScreenShotData(*record));
        return record->screenShot().toImage().pixelColor(5, 5) == QColor(Qt::green) &&
               copy->screenShot().toImage() == record->screenShot().toImage();
    };
    ASSERT_EQ(patient->addChild(record, true), CaError::nullError);
    ASSERT_EQ(DataIOManager::storePatient(patient), CaError::nullError);
    EXPECT_FALSE(record->hasUnstoredBinaryParts());
    EXPECT_NE(record->screenShot().cacheKey(), original.cacheKey()) << "it is decoded";
    EXPECT_TRUE(hasPicture());
    record->saveImage("stored"_s);
    EXPECT_EQ(QImage(folder() + "/stored.png"_s), original.toImage());

    // Out of its tree, in a tree without a place, and read from where it was.
    ASSERT_EQ(patient->removeChild(record.get()), CaError::nullError);
    EXPECT_TRUE(hasPicture());
    const DataPointer<Patient> other(new Patient);
    ASSERT_EQ(other->addChild(record, true), CaError::nullError);
    EXPECT_TRUE(hasPicture());
    const DataPointer<Patient> loaded = reload(patient);
    const auto former = screenshotOf(*loaded);
    ASSERT_EQ(loaded->removeChild(former.get()), CaError::nullError);
    EXPECT_EQ(former->screenShot().size(), original.size());
    // A store that fails loses nothing.
    ASSERT_EQ(patient->addChild(record, true), CaError::nullError);
    record->setScreenShot(original);
    {
        const FullDisk full;
        EXPECT_NE(DataIOManager::storePatient(patient), CaError::nullError);
    }
    EXPECT_TRUE(record->hasUnstoredBinaryParts() && hasPicture());
    ASSERT_EQ(DataIOManager::storePatient(patient), CaError::nullError);
    EXPECT_EQ(screenshotOf(*reload(patient))->screenShot().size(), original.size());
}

// As an application does that stores each new screenshot.
TEST_F(ScreenshotTest, AScreenshotThatIsStoredAtOnceStillGetsItsFile) {
    const CaConnection keeper(*patient, Data::CHILD_ADDED, [this](auto&&...) {
        EXPECT_EQ(DataIOManager::storePatient(patient), CaError::nullError);
    });
    take(patient.get(), "Save");
    EXPECT_EQ(QImage(folder() + QLatin1Char('/') + files().value(0)).size(), QSize(301, 201));
}

TEST_F(ScreenshotTest, WhatIsNoPictureGivesTheReason) {
    const std::pair<QByteArray, const char*> cases[] = {
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
    for (const auto& [bytes, reason] : cases) {
        const DataPointer<QtScreenShotData> record(new QtScreenShotData);
        record->setBinaryPart("screenShot"_s, bytes);
        ASSERT_EQ(patient->addChild(record, true), CaError::nullError);
    }
    ASSERT_EQ(DataIOManager::storePatient(patient), CaError::nullError);
    const DataPointer<Patient> loaded = reload(patient);
    for (int i = 0; i < loaded->childCount(); ++i) {
        QImage image;
        EXPECT_THAT(screenshotOf(*loaded, i)->readImage(image, {10, 10}).text(),
                    HasSubstr(cases[i].second));
        EXPECT_TRUE(image.isNull());
        EXPECT_TRUE(screenshotOf(*loaded, i)->screenShot().isNull());
        const DataPointer<QtScreenShotData> copy(new QtScreenShotData(*screenshotOf(*loaded, i)));
        EXPECT_TRUE(copy->screenShot().isNull());
    }
}
