#include "Gui/SettingsEditorTest.h"

#include "AppBase/SettingsConflictDialog.h"
#include "AppBase/SettingsKeyDialog.h"

#include <QtCore/QFileInfo>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QLayout>
#include <QtWidgets/QListWidget>
#include <QtWidgets/QSpinBox>
#include <QtWidgets/QTableWidget>

using namespace vlr;
using namespace vlrTest;
using testing::HasSubstr;

TEST_F(SettingsEditorTest, OkStoresAllChangesAndNothingWithoutOnes) {
    const FileState before;
    dialog->accept();
    EXPECT_EQ(dialog->result(), QDialog::Accepted);
    EXPECT_TRUE(FileState() == before);

    const QString distance = text("Velora/Planning/Distance");
    for (const char* way : {"Cancel", "OK"}) {
        EXPECT_TRUE(FileState() == before);
        open();
        type(title, "Hip");
        model->remove(known("MaxPatientID"));
        model->rename(margin, distance);
        QTest::mouseClick(button(way), Qt::LeftButton);
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
    ASSERT_TRUE(line);
    line->setText(text("Hip"));
    QTest::mouseClick(button("Apply"), Qt::LeftButton);
    EXPECT_TRUE(dialog->isVisible());
    EXPECT_EQ(Settings::get(title, ""), text("Hip"));
    EXPECT_TRUE(model->edits().changes().empty());
}

TEST_F(SettingsEditorTest, TheEditorSuitsTheType) {
    const std::pair<QString, const char*> cases[] = {
        {known("DisplayLogo"), "QComboBox"},
        {known("WindowShowMode"), "QComboBox"},
        {known("QtQuadView/SplitterWidth"), "QSpinBox"},
        {known("QtQuadView/InitialSize"), "QLineEdit"},
        {known("QtQuadView/ButtonColor"), "QLineEdit"},
        {margin, "QLineEdit"},
    };
    for (const auto& [key, className] : cases) {
        QWidget* const opened = edit<QWidget>(key);
        ASSERT_TRUE(opened) << key.toStdString();
        EXPECT_STREQ(opened->metaObject()->className(), className) << key.toStdString();
        if (const auto* spin = qobject_cast<QSpinBox*>(opened)) {
            EXPECT_EQ(std::pair(spin->minimum(), spin->maximum()), std::pair(1, 64));
        }
        pressEnter(opened);
        ASSERT_FALSE(editor<QWidget>());
    }
    EXPECT_TRUE(model->edits().changes().empty()); // Looking changed nothing.

    auto* combo = edit<QComboBox>(known("WindowShowMode"));
    ASSERT_TRUE(combo);
    EXPECT_EQ(combo->currentText(), text("maximized"));
    QTest::keyClick(combo, Qt::Key_Down);
    pressEnter(combo);
    EXPECT_EQ(model->edits().text(known("WindowShowMode")), text("fullscreen"));
}

TEST_F(SettingsEditorTest, AStoredValueThatDoesNotFitIsNotLostByLooking) {
    ASSERT_EQ(Settings::set(known("WindowShowMode"), "tiny"), CaError::nullError);
    ASSERT_EQ(Settings::set(known("MaxPatientID"), "many"), CaError::nullError);
    open();
    auto* line = edit<QLineEdit>(known("MaxPatientID"));
    ASSERT_TRUE(line);
    EXPECT_EQ(line->text(), text("many"));
    pressEnter(line);
    auto* combo = edit<QComboBox>(known("WindowShowMode"));
    ASSERT_TRUE(combo);
    EXPECT_EQ(combo->currentText(), text("tiny"));
    pressEnter(combo);
    EXPECT_TRUE(model->edits().changes().empty());
}

TEST_F(SettingsEditorTest, WhatDoesNotParseIsRefusedWithTheReasonAndStaysInSight) {
    const FileState before;
    const QString size = known("QtQuadView/InitialSize");
    search()->setText(text("InitialSize")); // opens the group, which is not folded away again
    auto* line = edit<QLineEdit>(size);
    ASSERT_TRUE(line);
    line->setText(text("big"));
    EXPECT_THAT(told(), Not(HasSubstr("does not fit")));
    std::vector<std::function<void()>> attempts = {
        [&] { pressEnter(line); },
        [&] { QTest::keyClick(line, Qt::Key_Tab); },
        [&] { search()->setFocus(); },
        [&] { view->setCurrentKey(known("DisplayLogo")); },
        [&] { QTest::mouseClick(button("OK"), Qt::LeftButton); },
        [&] { QTest::mouseClick(button("Apply"), Qt::LeftButton); },
    };
    for (const char* wanted : {"", "MaxP", "no such thing", "", "knee", "MaxP"})
        attempts.emplace_back([&, wanted] { search()->setText(text(wanted)); });
    for (const auto& attempt : attempts) {
        SCOPED_TRACE(&attempt - attempts.data());
        attempt();
        QCoreApplication::processEvents();
        ASSERT_EQ(editor<QWidget>(), line);
        EXPECT_TRUE(dialog->isVisible());
        EXPECT_TRUE(view->viewport()->rect().contains(line->geometry().center()));
        EXPECT_THAT(told(), HasSubstr("\"big\" does not fit"));
    }
    EXPECT_EQ(view->currentKey(), size); // which the commands are about
    EXPECT_FALSE(isShown(title));
    EXPECT_TRUE(FileState() == before);
    line->setText(text("10 x 20"));
    EXPECT_THAT(told(), Not(HasSubstr("does not fit")));
    pressEnter(line);
    EXPECT_EQ(model->edits().value(size), QSize(10, 20));

    line = edit<QLineEdit>(margin);
    ASSERT_TRUE(line);
    line->setText(text("wide"));
    pressEnter(line);
    QTest::keyClick(line, Qt::Key_Escape); // gives up the editor first
    EXPECT_TRUE(dialog->isVisible());
    EXPECT_EQ(model->edits().text(margin), text("1.5"));
    EXPECT_THAT(told(), Not(HasSubstr("does not fit")));
}

TEST_F(SettingsEditorTest, SearchNarrowsToKeysAndValues) {
    const QString quadView = known("QtQuadView");
    const QString width = known("QtQuadView/SplitterWidth");
    EXPECT_FALSE(view->isExpanded(model->indexOf(quadView)));
    QTest::keyClicks(search(), text("SPLITTERw"));
    EXPECT_TRUE(isShown(width) && isShown(quadView));
    EXPECT_FALSE(isShown(known("MaxPatientID")) || isShown(text("Velora/Planning")));
    EXPECT_EQ(view->currentKey(), width);
    EXPECT_THAT(told(), HasSubstr("1 found"));

    search()->setText(text("kNee")); // a value
    EXPECT_TRUE(isShown(title));
    EXPECT_FALSE(isShown(width));
    search()->setText(text("1000000")); // not the default of a key with another value
    EXPECT_THAT(told(), HasSubstr("Nothing found"));

    QTest::keyClick(search(), Qt::Key_Escape);
    EXPECT_TRUE(dialog->isVisible());
    EXPECT_TRUE(search()->text().isEmpty());
    EXPECT_TRUE(isShown(known("MaxPatientID")));
    EXPECT_FALSE(view->isExpanded(model->indexOf(quadView)));
    QTest::keyClick(search(), Qt::Key_Escape);
    EXPECT_FALSE(dialog->isVisible());
}

TEST_F(SettingsEditorTest, SettingsAreAddedAndRenamedByKeyboard) {
    view->setCurrentKey(title);
    inNextDialog<SettingsKeyDialog>([](SettingsKeyDialog& asked) {
        auto* path = asked.findChild<QLineEdit*>();
        EXPECT_EQ(path->text(), text("Velora/Planning/"));
        QTest::keyClick(&asked, Qt::Key_Return);
        EXPECT_TRUE(asked.isVisible()); // The trailing slash is refused.
        EXPECT_THAT(asked.findChildren<QLabel*>(),
                    testing::Contains(testing::ResultOf(
                        [](const QLabel* label) { return label->text().toStdString(); },
                        HasSubstr("slash"))));
        QTest::keyClicks(path, text("Steps"));
        auto* types = asked.findChild<QComboBox*>();
        types->setCurrentIndex(types->findText(text("Whole number")));
        QTest::keyClick(&asked, Qt::Key_Return);
    });
    QTest::keyClick(dialog.get(), Qt::Key_D, Qt::AltModifier);
    const QString steps = text("Velora/Planning/Steps");
    ASSERT_TRUE(QTest::qWaitFor([&] { return editor<QSpinBox>() != nullptr; }));
    EXPECT_EQ(view->currentKey(), steps);
    auto* spin = editor<QSpinBox>(); // ready for the value
    spin->setValue(12);
    pressEnter(spin);
    EXPECT_EQ(model->edits().value(steps), text("12"));

    inNextDialog<SettingsKeyDialog>([](SettingsKeyDialog& asked) {
        asked.findChild<QLineEdit*>()->setText(text("Velora/Planning/Count"));
        QTest::keyClick(&asked, Qt::Key_Return);
    });
    activate();
    QTest::keyClick(dialog.get(), Qt::Key_M, Qt::AltModifier);
    EXPECT_TRUE(
        QTest::qWaitFor([&] { return view->currentKey() == text("Velora/Planning/Count"); }));
    EXPECT_FALSE(model->indexOf(steps).isValid());
}

TEST_F(SettingsEditorTest, DeletingIsShownAndCanBeReverted) {
    auto* list = dialog->findChild<QListWidget*>();
    view->setFocus();
    view->setCurrentKey(title);
    EXPECT_FALSE(button("Reset to Default")->isEnabled()); // It has none.
    EXPECT_FALSE(list->isVisible());
    QTest::keyClick(view, Qt::Key_Delete);
    view->setCurrentKey(known("MaxPatientID"));
    QTest::mouseClick(button("Reset to Default"), Qt::LeftButton);
    EXPECT_FALSE(button("Delete")->isEnabled());
    EXPECT_EQ(button("2 changes")->isVisible(), true);
    ASSERT_TRUE(list->isVisible());
    ASSERT_EQ(list->count(), 2);
    EXPECT_EQ(list->item(0)->text(),
              text("Velora/Application/MaxPatientID: 7000 \u2192 (default: 1000000)"));
    EXPECT_EQ(list->item(1)->text(), text("Velora/Planning/Title: Knee \u2192 (none)"));
    EXPECT_THAT(told(), HasSubstr("The ids of new patients lie below this number."));
    EXPECT_THAT(told(), HasSubstr("\na whole number, at least 0\n"));
    EXPECT_THAT(told(), HasSubstr("\nWill be the default again; stored is 7000."));
    emit list->itemActivated(list->item(1));
    EXPECT_EQ(view->currentKey(), title);
    EXPECT_THAT(told(), HasSubstr("Will be deleted"));
    QTest::keyClick(dialog.get(), Qt::Key_V, Qt::AltModifier);
    EXPECT_TRUE(QTest::qWaitFor([&] { return model->edits().changes().size() == 1; }));
}

TEST_F(SettingsEditorTest, KeysTypedIntoALineAreNotMeantForTheTree) {
    view->setCurrentKey(title);
    search()->setFocus();
    QTest::keyClicks(search(), text("knee"));
    search()->selectAll();
    QTest::keyClick(search(), Qt::Key_Delete);
    auto* line = edit<QLineEdit>(title);
    ASSERT_TRUE(line);
    QTest::keyClick(line, Qt::Key_Delete);
    EXPECT_TRUE(line->text().isEmpty());
    QTest::keyClick(line, Qt::Key_Escape);
    auto* combo = edit<QComboBox>(known("WindowShowMode"));
    ASSERT_TRUE(combo);
    QTest::keyClick(combo, Qt::Key_Delete);
    EXPECT_TRUE(model->edits().changes().empty());
}

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
        EXPECT_TRUE(FileState() == theirs);
        asked.reject();
    });
    QTest::mouseClick(button("OK"), Qt::LeftButton);
    EXPECT_TRUE(dialog->isVisible());
    EXPECT_TRUE(FileState() == theirs);
    EXPECT_EQ(model->edits().changes().size(), 2U);

    inNextDialog<SettingsConflictDialog>([&](SettingsConflictDialog& asked) {
        auto* choice = qobject_cast<QComboBox*>(asked.findChild<QTableWidget*>()->cellWidget(1, 4));
        choice->setCurrentIndex(1); // mine
        QTest::keyClick(&asked, Qt::Key_Return);
    });
    QTest::mouseClick(button("OK"), Qt::LeftButton);
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
        QTest::mouseClick(button("OK"), Qt::LeftButton);
    }
    EXPECT_TRUE(dialog->isVisible());
    EXPECT_THAT(told(), HasSubstr("Nothing was stored. Could not"));
    EXPECT_TRUE(FileState() == before);
    EXPECT_EQ(model->edits().text(title), text("Hip"));
    QTest::mouseClick(button("OK"), Qt::LeftButton);
    EXPECT_FALSE(dialog->isVisible());
    EXPECT_EQ(Settings::get(title, ""), text("Hip"));
}

TEST_F(SettingsEditorTest, TheWindowFitsTheScreenWhateverTheTexts) {
    const QString broad = text("Velora/") + QString(5000, QLatin1Char('x'));
    ASSERT_EQ(Settings::set(title, text("word ").repeated(1000)), CaError::nullError);
    ASSERT_EQ(Settings::set(broad, "1"), CaError::nullError);
    open();
    for (const QString& key : {title, broad}) {
        view->setCurrentKey(key);
        model->setData(view->currentIndex().siblingAtColumn(1), text("2"));
        QCoreApplication::processEvents(); // for the layout
        EXPECT_LE(dialog->minimumSizeHint().width(), 640);
        EXPECT_LE(dialog->layout()->minimumHeightForWidth(dialog->width()), 600);
    }
}
