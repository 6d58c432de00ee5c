#include "AppBase/Settings/vlrSettingsEditorDialog.h"

#include "AppBase/Settings/SettingsConflictDialog.h"
#include "AppBase/Settings/SettingsKeyDialog.h"
#include "AppBase/Settings/SettingsView.h"
#include "Gui/GuiTest.h"

#include <QtCore/QDir>
#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QListWidget>
#include <QtWidgets/QTableWidget>

#include <stdexcept>
#include <sys/stat.h>

using namespace vlr;
using namespace vlrTest;

namespace {

// Contents, time and identity of the settings file.
struct FileState {
    FileState() : bytes(readFile(Settings::filePath())) {
        stat(QFile::encodeName(Settings::filePath()).constData(), &status);
    }
    bool operator==(const FileState& other) const {
        return bytes == other.bytes && status.st_ino == other.status.st_ino &&
               status.st_mtim.tv_sec == other.status.st_mtim.tv_sec &&
               status.st_mtim.tv_nsec == other.status.st_mtim.tv_nsec;
    }
    QByteArray bytes;
    struct stat status {};
};

// An open editor on a file with a few settings.
struct SettingsEditorTest : GuiTest {
    const QString title = text("Velora/Planning/Title");
    const QString margin = text("Velora/Planning/Margin");

    SettingsEditorTest() {
        writeFile(Settings::filePath(), "[Velora]\n"
                                        "Application\\MaxPatientID=7000\n"
                                        "Application\\WindowShowMode=maximized\n"
                                        "Planning\\Margin=1.5\n"
                                        "Planning\\Title=Knee\n");
        Settings::reload();
        open();
    }

    void open() {
        dialog = std::make_unique<SettingsEditorDialog>();
        showActive(*dialog); // for the mnemonics
        view = dialog->findChild<SettingsView*>();
        model = static_cast<SettingsModel*>(view->model());
    }

    template <class Editor>
    Editor* edit(const QString& key) {
        view->setFocus();
        view->setCurrentKey(key);
        QTest::keyClick(view, Qt::Key_F2);
        if (Editor* const opened = editor<Editor>())
            return opened;
        throw std::runtime_error("No editor opens for " + key.toStdString());
    }
    // Also when closed, an editor lives until it is deleted later.
    template <class Editor>
    Editor* editor() const {
        const auto editors =
            view->viewport()->findChildren<Editor*>(QString(), Qt::FindDirectChildrenOnly);
        for (Editor* candidate : editors)
            if (candidate->isVisible())
                return candidate;
        return nullptr;
    }

    // Editors close by way of the event loop.
    static void pressEnter(QWidget* editor) {
        QTest::keyClick(editor, Qt::Key_Return);
        QCoreApplication::processEvents();
    }

    void type(const QString& key, const char* value) {
        auto* line = edit<QLineEdit>(key);
        line->selectAll();
        QTest::keyClicks(line, text(value));
        pressEnter(line);
        ASSERT_FALSE(editor<QWidget>());
    }

    void click(const char* label) const {
        const auto buttons = dialog->findChildren<QAbstractButton*>();
        for (QAbstractButton* candidate : buttons)
            if (candidate->text().remove(QLatin1Char('&')) == text(label))
                return QTest::mouseClick(candidate, Qt::LeftButton);
        ADD_FAILURE() << "no button " << label;
    }

    // All that stands in labels one can see.
    std::string told() const {
        QStringList lines;
        const auto labels = dialog->findChildren<QLabel*>();
        for (const QLabel* label : labels)
            if (label->isVisible())
                lines << label->text().remove(QChar(0x200b));
        return lines.join(QLatin1Char('\n')).toStdString();
    }

    QLineEdit* search() const { return dialog->findChild<QLineEdit*>(); }

    std::unique_ptr<SettingsEditorDialog> dialog;
    SettingsView* view = nullptr;
    SettingsModel* model = nullptr;
};

} // namespace

// --- editing

TEST_F(SettingsEditorTest, OkStoresAllChangesAndNothingWithoutOnes) {
    const FileState before;
    dialog->accept();
    EXPECT_EQ(dialog->result(), QDialog::Accepted);
    const QString distance = text("Velora/Planning/Distance");
    for (const char* way : {"Cancel", "OK"}) {
        EXPECT_TRUE(FileState() == before);
        open();
        type(title, "Hip");
        model->remove(known("MaxPatientID"));
        model->rename(margin, distance);
        click(way);
        EXPECT_FALSE(dialog->isVisible());
    }
    EXPECT_EQ(dialog->result(), QDialog::Accepted);
    Settings::reload();
    EXPECT_EQ(Settings::keys(), (QStringList{known("WindowShowMode"), distance, title}));
    EXPECT_EQ(Settings::get(title, ""), text("Hip"));
    EXPECT_EQ(Settings::get(distance, 0.0), 1.5);
}

TEST_F(SettingsEditorTest, ApplyStoresWhatIsStillBeingTypedAndStays) {
    auto* line = edit<QLineEdit>(title);
    line->setText(text("Hip"));
    click("Apply");
    EXPECT_TRUE(dialog->isVisible());
    EXPECT_EQ(Settings::get(title, ""), text("Hip"));
    EXPECT_TRUE(model->edits().changes().empty());
}

TEST_F(SettingsEditorTest, AStoredValueThatDoesNotFitIsNotLostByLooking) {
    ASSERT_EQ(Settings::set(known("WindowShowMode"), "tiny"), CaError::nullError);
    ASSERT_EQ(Settings::set(known("MaxPatientID"), "many"), CaError::nullError);
    open();
    auto* line = edit<QLineEdit>(known("MaxPatientID"));
    EXPECT_EQ(line->text(), text("many"));
    pressEnter(line);
    auto* combo = edit<QComboBox>(known("WindowShowMode"));
    EXPECT_EQ(combo->currentText(), text("tiny"));
    pressEnter(combo);
    EXPECT_TRUE(model->edits().changes().empty());
    combo = edit<QComboBox>(known("WindowShowMode"));
    combo->setCurrentText(text("fullscreen"));
    pressEnter(combo);
    EXPECT_EQ(model->edits().text(known("WindowShowMode")), text("fullscreen"));
}

TEST_F(SettingsEditorTest, WhatDoesNotParseIsRefusedWithTheReasonAndStaysInSight) {
    const QString size = known("QtQuadView/InitialSize");
    auto* line = edit<QLineEdit>(size);
    line->setText(text("big"));
    const std::function<void()> attempts[] = {
        [&] { pressEnter(line); },
        [&] { QTest::keyClick(line, Qt::Key_Tab); },
        [&] { view->setCurrentKey(known("DisplayLogo")); },
        [&] { click("OK"); },
        [&] { click("Apply"); },
        [&] { search()->setText(text("no such thing")); },
    };
    for (const auto& attempt : attempts) {
        SCOPED_TRACE(&attempt - attempts);
        attempt();
        QCoreApplication::processEvents();
        ASSERT_EQ(editor<QWidget>(), line);
        EXPECT_TRUE(dialog->isVisible());
        EXPECT_THAT(told(), HasSubstr("\"big\" does not fit"));
    }
    EXPECT_EQ(view->currentKey(), size);   // which the commands are about
    QTest::keyClick(line, Qt::Key_Escape); // gives up the editor first
    EXPECT_TRUE(dialog->isVisible());
    EXPECT_TRUE(model->edits().changes().empty());
}

TEST_F(SettingsEditorTest, CommandsAreEnabledWhereTheyDoSomething) {
    const auto enabled = [this] {
        QStringList labels;
        for (const auto* button : dialog->findChildren<QPushButton*>())
            if (button->isEnabled())
                labels << button->text().remove(QLatin1Char('&'));
        return labels.join(text(", ")).toStdString();
    };
    view->setCurrentKey(known("MaxPatientID"));
    EXPECT_THAT(enabled(), HasSubstr("Add..., Rename..., Delete, Reset to Default"));
    view->setCurrentKey(title);
    EXPECT_THAT(enabled(), HasSubstr("Add..., Rename..., Delete, OK"));
    inNextDialog<SettingsKeyDialog>([](auto& asked) { asked.accept(); }); // the same name
    click("Rename...");
    EXPECT_TRUE(model->edits().changes().empty());
    type(title, "Hip");
    EXPECT_THAT(enabled(), HasSubstr("Delete, Revert, OK"));
    click("Revert");
    EXPECT_EQ(model->edits().text(title), text("Knee"));

    search()->setText(text("nothing of the kind"));
    EXPECT_THAT(told(), HasSubstr("Nothing found"));
    EXPECT_FALSE(view->currentIndex().isValid());
    search()->setText(title);
    EXPECT_THAT(told(), HasSubstr("1 found"));
    EXPECT_EQ(view->currentIndex().data(SettingsModel::KeyRole).toString(), title);
    search()->setFocus();
    QTest::keyClick(search(), Qt::Key_Down);
    EXPECT_EQ(dialog->focusWidget(), view);
}

TEST_F(SettingsEditorTest, SettingsAreDeletedAndAddedByKeyboard) {
    view->setFocus();
    view->setCurrentKey(title);
    QTest::keyClick(view, Qt::Key_Delete);
    inNextDialog<SettingsKeyDialog>([](SettingsKeyDialog& asked) {
        QTest::keyClick(&asked, Qt::Key_Return);
        EXPECT_TRUE(asked.isVisible()); // The trailing slash is refused.
        QTest::keyClicks(asked.findChild<QLineEdit*>(), text("Steps"));
        auto* types = asked.findChild<QComboBox*>();
        types->setCurrentIndex(types->findText(text("Whole number")));
        QTest::keyClick(&asked, Qt::Key_Return);
    });
    QTest::keyClick(dialog.get(), Qt::Key_D, Qt::AltModifier);
    ASSERT_TRUE(QTest::qWaitFor([&] { return editor<QSpinBox>() != nullptr; }));
    auto* spin = editor<QSpinBox>(); // ready for the value
    spin->setValue(12);
    pressEnter(spin);
    const auto* list = dialog->findChild<QListWidget*>();
    ASSERT_EQ(list->count(), 2);
    EXPECT_EQ(list->item(0)->text(), text("Velora/Planning/Steps: (none) \u2192 12"));
    EXPECT_EQ(list->item(1)->text(), text("Velora/Planning/Title: Knee \u2192 (none)"));
}

TEST_F(SettingsEditorTest, KeysTypedIntoALineAreNotMeantForTheTree) {
    view->setCurrentKey(title);
    search()->setText(text("knee"));
    QTest::keyClick(search(), Qt::Key_Delete);
    auto* line = edit<QLineEdit>(title);
    QTest::keyClick(line, Qt::Key_Delete);
    EXPECT_TRUE(line->text().isEmpty());
    QTest::keyClick(line, Qt::Key_Escape);
    auto* combo = edit<QComboBox>(known("WindowShowMode"));
    QTest::keyClick(combo, Qt::Key_Delete);
    EXPECT_TRUE(model->edits().changes().empty());
}

// --- storing

TEST_F(SettingsEditorTest, WhatOthersChangedIsAskedFor) {
    type(title, "Hip");
    type(margin, "2");
    // Another process, which knows nothing of this one.
    writeFile(Settings::filePath(), "[Velora]\nPlanning\\Margin=3\nPlanning\\Title=Spine\nX=1\n");
    const FileState theirs;
    inNextDialog<SettingsConflictDialog>([&](SettingsConflictDialog& asked) {
        const auto* table = asked.findChild<QTableWidget*>();
        const QStringList expected[] = {{margin, text("1.5"), text("3"), text("2")},
                                        {title, text("Knee"), text("Spine"), text("Hip")}};
        ASSERT_EQ(table->rowCount(), 2);
        for (int row = 0; row < 2; ++row)
            for (int column = 0; column < 4; ++column)
                EXPECT_EQ(table->item(row, column)->text(), expected[row][column]);
        asked.reject();
    });
    click("OK");
    EXPECT_TRUE(dialog->isVisible());
    EXPECT_TRUE(FileState() == theirs);
    EXPECT_EQ(model->edits().changes().size(), 2U);

    inNextDialog<SettingsConflictDialog>([&](SettingsConflictDialog& asked) {
        auto* choice = qobject_cast<QComboBox*>(asked.findChild<QTableWidget*>()->cellWidget(1, 4));
        ASSERT_FALSE(choice->hasFocus());
        turnWheel(choice, -120);
        EXPECT_EQ(choice->currentIndex(), 0) << "the wheel chooses nothing";
        choice->setCurrentIndex(1); // mine
        QTest::keyClick(&asked, Qt::Key_Return);
    });
    click("OK");
    EXPECT_FALSE(dialog->isVisible());
    Settings::reload();
    EXPECT_EQ(Settings::get(title, ""), text("Hip"));
    EXPECT_EQ(Settings::get(margin, 0.0), 3.0);
    EXPECT_EQ(Settings::get(text("Velora/X"), 0), 1);
}

TEST_F(SettingsEditorTest, AFailedWriteStaysInTheDialog) {
    type(title, "Hip");
    const FileState before;
    {
        const ReadOnlyFolder closed(QFileInfo(Settings::filePath()).path());
        click("OK");
    }
    EXPECT_TRUE(dialog->isVisible());
    EXPECT_THAT(told(), HasSubstr("Nothing was stored. Could not"));
    EXPECT_TRUE(FileState() == before);
    click("OK");
    EXPECT_FALSE(dialog->isVisible());
    EXPECT_EQ(Settings::get(title, ""), text("Hip"));
}

TEST_F(SettingsEditorTest, OpeningAndCancellingTouchesNothing) {
    const std::pair<const char*, const char*> cases[] = {
        {"no settings at all", "cannot be used"},
        {"a=@Variant(\\0)", "serialised object"},
        {"[Velora]\nPlanning\\Title=Spine\n", ""},
    };
    for (const auto& [bytes, said] : cases) {
        writeFile(Settings::filePath(), bytes);
        const FileState before;
        const QDir folder = QFileInfo(Settings::filePath()).dir();
        const QStringList files = folder.entryList(QDir::Files | QDir::Hidden);
        open();
        EXPECT_THAT(told(), HasSubstr(said)) << bytes;
        EXPECT_EQ(told().find("Shown is") == std::string::npos, QLatin1String(said).isEmpty());
        click("Cancel");
        EXPECT_TRUE(FileState() == before) << bytes;
        EXPECT_EQ(folder.entryList(QDir::Files | QDir::Hidden), files) << bytes;
    }
}

TEST_F(SettingsEditorTest, ADamagedFileIsReplacedByApplyingOnly) {
    writeFile(Settings::filePath(), "damaged");
    open();
    type(margin, "2");
    EXPECT_THAT(told(), HasSubstr("kept under another name"));
    EXPECT_EQ(readFile(Settings::filePath()), "damaged");
    expectLog(LogLevel::Warning, "The file is kept as");
    click("Apply");
    EXPECT_THAT(told(), Not(HasSubstr("kept under another name")));
    Settings::reload();
    EXPECT_EQ(Settings::get(margin, 0.0), 2.0);
    EXPECT_EQ(Settings::get(title, ""), text("Knee"));
}

// --- an editor that goes while it asks

TEST_F(SettingsEditorTest, TheEditorMayGoWhileItAsks) {
    for (const char* label : {"Add...", "Rename...", "OK", "Apply"}) {
        writeFile(Settings::filePath(), "[Velora]\nPlanning\\Title=Knee\n");
        open();
        type(title, "Hip");
        writeFile(Settings::filePath(), "[Velora]\nPlanning\\Title=Spine\n"); // a conflict
        const FileState theirs;
        inNextDialog<QDialog>([&](QDialog& asked) {
            EXPECT_EQ(asked.parentWidget(), dialog.get());
            dialog.reset();
        });
        click(label);
        ASSERT_TRUE(QTest::qWaitFor([&] { return !dialog; })) << label;
        EXPECT_TRUE(FileState() == theirs) << label;
    }
}
