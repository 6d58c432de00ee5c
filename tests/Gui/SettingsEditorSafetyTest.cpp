#include "Gui/SettingsEditorTest.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QLockFile>
#include <QtWidgets/QAction>
#include <QtWidgets/QMenu>

#include <gmock/gmock.h>

using namespace vlr;
using namespace vlrTest;
using testing::HasSubstr;

namespace {

QStringList filesBeside(const QString& path) {
    return QFileInfo(path).dir().entryList(QDir::Files | QDir::Hidden, QDir::Name);
}

// Types what the setting refuses and tries to leave, so that its editor stays open.
class RefusedEditorTest : public SettingsEditorTest {
protected:
    void refuse(const QString& key) {
        line = edit<QLineEdit>(key);
        ASSERT_TRUE(line);
        line->setText(text("big"));
        pressEnter(line);
        search = dialog->findChild<QLineEdit*>();
        search->setFocus();
    }
    bool isSeen() const {
        QCoreApplication::processEvents(); // for the layout
        return line->isVisible() && view->viewport()->rect().contains(line->geometry().center()) &&
               editor<QLineEdit>() == line;
    }

    QLineEdit* line = nullptr;
    QLineEdit* search = nullptr;
};

} // namespace

// --- the search and what must not get lost

TEST_F(RefusedEditorTest, NoSearchHidesAnOpenEditor) {
    const QString size = known("QtQuadView/InitialSize");
    refuse(size);
    for (const char* wanted : {"MaxP", "no such thing", "", "knee", ""}) {
        search->setText(text(wanted));
        EXPECT_TRUE(isSeen()) << wanted;
        EXPECT_EQ(view->currentKey(), size) << wanted; // which the commands below are about
    }
    search->setText(text("MaxP"));
    EXPECT_FALSE(isShown(text("Velora/Planning/Title")));
    QTest::mouseClick(button("OK"), Qt::LeftButton);
    EXPECT_TRUE(dialog->isVisible());
    line->setText(text("10 x 20"));
    pressEnter(line);
    EXPECT_EQ(model->edits().value(size), QSize(10, 20));
}

TEST_F(RefusedEditorTest, TheEndOfASearchDoesNotFoldAnOpenEditorAway) {
    dialog->findChild<QLineEdit*>()->setText(text("InitialSize")); // opens the group
    refuse(known("QtQuadView/InitialSize"));
    search->clear();
    EXPECT_TRUE(isSeen());
}

TEST_F(SettingsEditorTest, RowsThatArriveAreSearchedToo) {
    auto* search = dialog->findChild<QLineEdit*>();
    search->setText(text("spline"));
    ASSERT_THAT(told(), HasSubstr("Nothing found"));
    for (const QString& mine : {text("Velora/Mine"), text("Velora/Own")}) {
        model->add(mine, SettingsType());
        EXPECT_FALSE(isShown(mine));
        view->setCurrentKey(mine);
        EXPECT_TRUE(isShown(mine));
    }

    writeFile(Settings::filePath(), "[Velora]\nFar\\Off\\Kind=a spline\nFar\\Other=1\n"
                                    "Planning\\Title=Spline\n");
    QTest::mouseClick(button("Apply"), Qt::LeftButton);
    EXPECT_TRUE(isShown(text("Velora/Far/Off/Kind")));
    EXPECT_TRUE(isShown(text("Velora/Planning/Title"))); // was there, with another value
    EXPECT_TRUE(isShown(text("Velora/Mine")));
    EXPECT_FALSE(isShown(text("Velora/Far/Other")));
    EXPECT_THAT(told(), HasSubstr("2 found"));

    search->setText(text("splin")); // One asks anew.
    EXPECT_FALSE(isShown(text("Velora/Mine")));
}

// --- an editor that goes while it asks

TEST_F(SettingsEditorTest, TheEditorMayGoWhileItAsks) {
    for (const char* label : {"Add...", "Rename...", "OK", "Apply"}) {
        writeFile(Settings::filePath(), "[Velora]\nPlanning\\Title=Knee\n");
        open();
        type(text("Velora/Planning/Title"), "Hip");
        writeFile(Settings::filePath(), "[Velora]\nPlanning\\Title=Spine\n"); // a conflict
        const FileState theirs;
        bool wasOpen = false;
        whenOpen<QDialog>([&](QDialog& asked) {
            wasOpen = asked.parentWidget() == dialog.get();
            dialog.reset();
        });
        button(label)->click();
        ASSERT_TRUE(QTest::qWaitFor([&] { return !dialog; })) << label;
        EXPECT_TRUE(wasOpen) << label;
        EXPECT_TRUE(FileState() == theirs) << label;
    }
}

TEST_F(SettingsEditorTest, TheEditorMayGoUnderItsMenu) {
    view->setCurrentKey(text("Velora/Planning/Title"));
    bool wasOpen = false;
    auto* timer = new QTimer(qApp);
    QObject::connect(timer, &QTimer::timeout, timer, [&, timer] {
        const auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        if (!menu)
            return;
        timer->stop();
        wasOpen = menu->actions() == view->actions();
        dialog.reset();
    });
    timer->start(1);
    const QPoint place = view->visualRect(view->currentIndex()).center();
    QContextMenuEvent event(QContextMenuEvent::Mouse, place, view->viewport()->mapToGlobal(place));
    QCoreApplication::sendEvent(view->viewport(), &event);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !dialog; }));
    EXPECT_TRUE(wasOpen);
}

// --- looking is not touching

TEST_F(SettingsEditorTest, OpeningAndCancellingTouchesNothing) {
    const struct {
        const char* bytes;
        bool isKnown; // Somebody read the settings before.
        const char* told;
    } cases[] = {
        {"no settings at all", true, "cannot be used"},
        {"no settings at all", false, "cannot be used"},
        {"a=@Variant(\\0)", true, "serialised object"},
        {"[Velora]\nPlanning\\Title=Spine\n", true, ""},
        {"[Velora]\nPlanning\\Title=Spine\n", false, ""},
    };
    for (const auto& c : cases) {
        writeFile(Settings::filePath(), "[Velora]\nPlanning\\Title=Knee\n");
        Settings::reload();
        ASSERT_EQ(Settings::get(text("Velora/Planning/Title"), ""), text("Knee"));
        writeFile(Settings::filePath(), c.bytes);
        const FileState before;
        const QStringList files = filesBeside(Settings::filePath());
        if (!c.isKnown)
            Settings::reload();
        open();
        EXPECT_THAT(told(), HasSubstr(c.told)) << c.bytes;
        EXPECT_EQ(told().find("Shown is") == std::string::npos, QLatin1String(c.told).isEmpty());
        QTest::mouseClick(button("Cancel"), Qt::LeftButton);
        EXPECT_TRUE(FileState() == before) << c.bytes;
        EXPECT_EQ(filesBeside(Settings::filePath()), files) << c.bytes;
    }
}

TEST_F(SettingsEditorTest, WhatOthersStoredIsShownWithoutTheirLock) {
    QLockFile other(Settings::filePath() + text(".lock"));
    ASSERT_TRUE(other.lock());
    writeFile(Settings::filePath(), "[Velora]\nPlanning\\Title=Spine\n");
    open();
    EXPECT_EQ(model->edits().text(text("Velora/Planning/Title")), text("Spine"));
    EXPECT_EQ(Settings::get(text("Velora/Planning/Title"), ""), text("Spine"));
}

TEST_F(SettingsEditorTest, ADamagedFileIsReplacedByApplyingOnly) {
    writeFile(Settings::filePath(), "damaged");
    open();
    EXPECT_THAT(told(), HasSubstr("kept under another name"));
    type(text("Velora/Planning/Margin"), "2");
    EXPECT_THAT(told(), HasSubstr("kept under another name"));
    EXPECT_EQ(readFile(Settings::filePath()), "damaged");
    expectLog(LogLevel::Warning, "The file is kept as");
    QTest::mouseClick(button("Apply"), Qt::LeftButton);
    EXPECT_THAT(told(), Not(HasSubstr("kept under another name")));
    Settings::reload();
    EXPECT_EQ(Settings::get(text("Velora/Planning/Margin"), 0.0), 2.0);
    EXPECT_EQ(Settings::get(text("Velora/Planning/Title"), ""), text("Knee"));
    const QFileInfo file(Settings::filePath());
    const QStringList kept = file.dir().entryList({file.fileName() + text(".damaged-*")});
    ASSERT_EQ(kept.size(), 1);
    EXPECT_EQ(readFile(file.dir().filePath(kept.first())), "damaged");
}
