#include "Gui/SettingsEditorTest.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QLockFile>
#include <QtWidgets/QAction>
#include <QtWidgets/QMenu>

using namespace vlr;
using namespace vlrTest;
using testing::HasSubstr;

namespace {

QStringList filesBeside(const QString& path) {
    return QFileInfo(path).dir().entryList(QDir::Files | QDir::Hidden, QDir::Name);
}

} // namespace

// --- the search and what must not get lost

TEST_F(SettingsEditorTest, RowsThatArriveAreSearchedToo) {
    search()->setText(text("spline"));
    ASSERT_THAT(told(), HasSubstr("Nothing found"));
    for (const QString& mine : {text("Velora/Mine"), text("Velora/Own")}) {
        model->add(mine, SettingsType());
        EXPECT_FALSE(isShown(mine));
        view->setCurrentKey(mine);
        EXPECT_TRUE(isShown(mine)) << "What one just made is not hidden from one.";
    }

    writeFile(Settings::filePath(), "[Velora]\nFar\\Off\\Kind=a spline\nFar\\Other=1\n"
                                    "Planning\\Title=Spline\n");
    QTest::mouseClick(button("Apply"), Qt::LeftButton);
    for (const char* found : {"Far/Off/Kind", "Planning/Title", "Mine"}) // not all of them new
        EXPECT_TRUE(isShown(text("Velora/") + text(found))) << found;
    EXPECT_FALSE(isShown(text("Velora/Far/Other")));
    EXPECT_THAT(told(), HasSubstr("2 found"));

    search()->setText(text("splin")); // One asks anew.
    EXPECT_FALSE(isShown(text("Velora/Mine")));
}

// --- an editor that goes while it asks

TEST_F(SettingsEditorTest, TheEditorMayGoWhileItAsks) {
    for (const char* label : {"Add...", "Rename...", "OK", "Apply"}) {
        writeFile(Settings::filePath(), "[Velora]\nPlanning\\Title=Knee\n");
        open();
        type(title, "Hip");
        writeFile(Settings::filePath(), "[Velora]\nPlanning\\Title=Spine\n"); // a conflict
        const FileState theirs;
        bool wasOpen = false;
        inNextDialog<QDialog>([&](QDialog& asked) {
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
    view->setCurrentKey(title);
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
    const std::tuple<const char*, bool, const char*> cases[] = {
        {"no settings at all", true, "cannot be used"},
        {"no settings at all", false, "cannot be used"},
        {"a=@Variant(\\0)", true, "serialised object"},
        {"[Velora]\nPlanning\\Title=Spine\n", true, ""},
        {"[Velora]\nPlanning\\Title=Spine\n", false, ""},
    };
    for (const auto& [bytes, isKnown, said] : cases) { // known: somebody read them before
        writeFile(Settings::filePath(), "[Velora]\nPlanning\\Title=Knee\n");
        Settings::reload();
        ASSERT_EQ(Settings::get(title, ""), text("Knee"));
        writeFile(Settings::filePath(), bytes);
        const FileState before;
        const QStringList files = filesBeside(Settings::filePath());
        if (!isKnown)
            Settings::reload();
        open();
        EXPECT_THAT(told(), HasSubstr(said)) << bytes;
        EXPECT_EQ(told().find("Shown is") == std::string::npos, QLatin1String(said).isEmpty());
        QTest::mouseClick(button("Cancel"), Qt::LeftButton);
        EXPECT_TRUE(FileState() == before) << bytes;
        EXPECT_EQ(filesBeside(Settings::filePath()), files) << bytes;
    }
}

TEST_F(SettingsEditorTest, WhatOthersStoredIsShownWithoutTheirLock) {
    QLockFile other(Settings::filePath() + text(".lock"));
    ASSERT_TRUE(other.lock());
    writeFile(Settings::filePath(), "[Velora]\nPlanning\\Title=Spine\n");
    open();
    EXPECT_EQ(model->edits().text(title), text("Spine"));
    EXPECT_EQ(Settings::get(title, ""), text("Spine"));
}

TEST_F(SettingsEditorTest, ADamagedFileIsReplacedByApplyingOnly) {
    writeFile(Settings::filePath(), "damaged");
    open();
    EXPECT_THAT(told(), HasSubstr("kept under another name"));
    type(margin, "2");
    EXPECT_THAT(told(), HasSubstr("kept under another name"));
    EXPECT_EQ(readFile(Settings::filePath()), "damaged");
    expectLog(LogLevel::Warning, "The file is kept as");
    QTest::mouseClick(button("Apply"), Qt::LeftButton);
    EXPECT_THAT(told(), Not(HasSubstr("kept under another name")));
    Settings::reload();
    EXPECT_EQ(Settings::get(margin, 0.0), 2.0);
    EXPECT_EQ(Settings::get(title, ""), text("Knee"));
    const QFileInfo file(Settings::filePath());
    const QStringList kept = file.dir().entryList({file.fileName() + text(".damaged-*")});
    ASSERT_EQ(kept.size(), 1);
    EXPECT_EQ(readFile(file.dir().filePath(kept.first())), "damaged");
}
