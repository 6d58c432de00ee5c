#include "Gui/SettingsEditorTest.h"

#include "AppBase/SettingsConflictDialog.h"
#include "AppBase/SettingsKeyDialog.h"

#include <QtCore/QFileInfo>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QLayout>
#include <QtWidgets/QListWidget>
#include <QtWidgets/QSpinBox>
#include <QtWidgets/QTableWidget>

#include <gmock/gmock.h>

using namespace vlr;
using namespace vlrTest;
using testing::HasSubstr;

TEST_F(SettingsEditorTest, LeavingWithoutOkLeavesTheFileUntouched) {
    const FileState before;
    const std::function<void()> ways[] = {
        [&] { QTest::mouseClick(button("Cancel"), Qt::LeftButton); },
        [&] { QTest::keyClick(view, Qt::Key_Escape); },
        [&] { dialog->close(); },
    };
    for (const auto& leave : ways) {
        open();
        type(text("Velora/Planning/Title"), "Hip");
        model->remove(known("MaxPatientID"));
        model->rename(text("Velora/Planning/Margin"), text("Velora/Planning/Distance"));
        leave();
        EXPECT_FALSE(dialog->isVisible());
        EXPECT_EQ(dialog->result(), QDialog::Rejected);
        EXPECT_TRUE(FileState() == before);
    }
}

TEST_F(SettingsEditorTest, OkStoresAllChangesAndNothingWithoutOnes) {
    const FileState before;
    dialog->accept();
    EXPECT_EQ(dialog->result(), QDialog::Accepted);
    EXPECT_TRUE(FileState() == before);

    open();
    type(text("Velora/Planning/Title"), "Hip");
    model->remove(known("MaxPatientID"));
    model->rename(text("Velora/Planning/Margin"), text("Velora/Planning/Distance"));
    QTest::mouseClick(button("OK"), Qt::LeftButton);
    EXPECT_EQ(dialog->result(), QDialog::Accepted);
    Settings::reload();
    EXPECT_EQ(Settings::keys().join(QLatin1Char(' ')),
              text("Velora/Application/WindowShowMode Velora/Planning/Distance "
                   "Velora/Planning/Title"));
    EXPECT_EQ(Settings::get(text("Velora/Planning/Title"), ""), text("Hip"));
    EXPECT_EQ(Settings::get(text("Velora/Planning/Distance"), 0.0), 1.5);
}

TEST_F(SettingsEditorTest, ApplyStoresWhatIsStillBeingTypedAndStays) {
    auto* line = edit<QLineEdit>(text("Velora/Planning/Title"));
    ASSERT_TRUE(line);
    line->setText(text("Hip"));
    QTest::mouseClick(button("Apply"), Qt::LeftButton);
    EXPECT_TRUE(dialog->isVisible());
    EXPECT_EQ(Settings::get(text("Velora/Planning/Title"), ""), text("Hip"));
    EXPECT_TRUE(model->edits().changes().empty());
}

TEST_F(SettingsEditorTest, TheEditorSuitsTheType) {
    const struct {
        QString key;
        const char* className;
    } cases[] = {
        {known("DisplayLogo"), "QComboBox"},
        {known("WindowShowMode"), "QComboBox"},
        {known("QtQuadView/SplitterWidth"), "QSpinBox"},
        {known("QtQuadView/InitialSize"), "QLineEdit"},
        {known("QtQuadView/ButtonColor"), "QLineEdit"},
        {text("Velora/Planning/Margin"), "QLineEdit"},
    };
    for (const auto& c : cases) {
        QWidget* const opened = edit<QWidget>(c.key);
        ASSERT_TRUE(opened) << c.key.toStdString();
        EXPECT_STREQ(opened->metaObject()->className(), c.className) << c.key.toStdString();
        if (const auto* spin = qobject_cast<QSpinBox*>(opened)) {
            EXPECT_EQ(spin->minimum(), 1);
            EXPECT_EQ(spin->maximum(), 64);
        }
        pressEnter(opened);
        ASSERT_FALSE(editor<QWidget>());
    }
    EXPECT_TRUE(model->edits().changes().empty()); // Looking changed nothing.
}

TEST_F(SettingsEditorTest, ChoosingTakesTheChoice) {
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

TEST_F(SettingsEditorTest, WhatDoesNotParseIsRefusedWithTheReason) {
    const FileState before;
    auto* line = edit<QLineEdit>(known("QtQuadView/InitialSize"));
    ASSERT_TRUE(line);
    line->setText(text("big"));
    EXPECT_THAT(told(), Not(HasSubstr("does not fit")));
    const std::function<void()> attempts[] = {
        [&] { pressEnter(line); },
        [&] { QTest::keyClick(line, Qt::Key_Tab); },
        [&] { dialog->findChild<QLineEdit*>()->setFocus(); },
        [&] { view->setCurrentKey(known("DisplayLogo")); },
        [&] { QTest::mouseClick(button("OK"), Qt::LeftButton); },
        [&] { QTest::mouseClick(button("Apply"), Qt::LeftButton); },
    };
    int attempt = 0;
    for (const auto& tryIt : attempts) {
        tryIt();
        QCoreApplication::processEvents();
        ASSERT_EQ(editor<QWidget>(), line) << attempt;
        EXPECT_TRUE(line->isVisible() && dialog->isVisible()) << attempt;
        EXPECT_THAT(told(), HasSubstr("\"big\" does not fit")) << attempt;
        ++attempt;
    }
    EXPECT_TRUE(FileState() == before);
    line->setText(text("10 x 20"));
    EXPECT_THAT(told(), Not(HasSubstr("does not fit")));
    pressEnter(line);
    EXPECT_EQ(model->edits().value(known("QtQuadView/InitialSize")), QSize(10, 20));
}

TEST_F(SettingsEditorTest, EscapeGivesUpTheEditorFirst) {
    auto* line = edit<QLineEdit>(text("Velora/Planning/Margin"));
    ASSERT_TRUE(line);
    line->setText(text("wide"));
    pressEnter(line);
    QTest::keyClick(line, Qt::Key_Escape);
    EXPECT_TRUE(dialog->isVisible());
    EXPECT_TRUE(model->edits().changes().empty());
    EXPECT_THAT(told(), Not(HasSubstr("does not fit")));
    dialog->accept();
    EXPECT_FALSE(dialog->isVisible());
}

TEST_F(SettingsEditorTest, SearchNarrowsToKeysAndValues) {
    const QString quadView = known("QtQuadView");
    const QString width = known("QtQuadView/SplitterWidth");
    auto* search = dialog->findChild<QLineEdit*>();
    EXPECT_FALSE(view->isExpanded(model->indexOf(quadView)));
    QTest::keyClicks(search, text("SPLITTERw"));
    EXPECT_TRUE(isShown(width));
    EXPECT_TRUE(isShown(quadView));
    EXPECT_FALSE(isShown(known("MaxPatientID")));
    EXPECT_FALSE(isShown(text("Velora/Planning")));
    EXPECT_EQ(view->currentKey(), width);
    EXPECT_THAT(told(), HasSubstr("1 found"));

    search->setText(text("kNee")); // a value
    EXPECT_TRUE(isShown(text("Velora/Planning/Title")));
    EXPECT_FALSE(isShown(width));
    search->setText(text("1000000")); // not the default of a key with another value
    EXPECT_THAT(told(), HasSubstr("Nothing found"));
    model->add(text("Velora/Fresh"), SettingsType());
    view->setCurrentKey(text("Velora/Fresh"));
    EXPECT_TRUE(isShown(text("Velora/Fresh"))); // What one just made is not hidden from one.

    QTest::keyClick(search, Qt::Key_Escape);
    EXPECT_TRUE(dialog->isVisible());
    EXPECT_TRUE(search->text().isEmpty());
    EXPECT_TRUE(isShown(known("MaxPatientID")));
    EXPECT_FALSE(view->isExpanded(model->indexOf(quadView)));
    QTest::keyClick(search, Qt::Key_Escape);
    EXPECT_FALSE(dialog->isVisible());
}

TEST_F(SettingsEditorTest, SettingsAreAddedAndRenamedByKeyboard) {
    view->setCurrentKey(text("Velora/Planning/Title"));
    whenOpen<SettingsKeyDialog>([](SettingsKeyDialog& asked) {
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

    whenOpen<SettingsKeyDialog>([](SettingsKeyDialog& asked) {
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
    view->setCurrentKey(text("Velora/Planning/Title"));
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
    emit list->itemActivated(list->item(1));
    EXPECT_EQ(view->currentKey(), text("Velora/Planning/Title"));
    EXPECT_THAT(told(), HasSubstr("Will be deleted"));
    QTest::keyClick(dialog.get(), Qt::Key_V, Qt::AltModifier);
    EXPECT_TRUE(QTest::qWaitFor([&] { return model->edits().changes().size() == 1; }));
}

TEST_F(SettingsEditorTest, KeysTypedIntoALineAreNotMeantForTheTree) {
    view->setCurrentKey(text("Velora/Planning/Title"));
    auto* search = dialog->findChild<QLineEdit*>();
    search->setFocus();
    QTest::keyClicks(search, text("knee"));
    search->selectAll();
    QTest::keyClick(search, Qt::Key_Delete);
    auto* line = edit<QLineEdit>(text("Velora/Planning/Title"));
    ASSERT_TRUE(line);
    QTest::keyClick(line, Qt::Key_Delete);
    EXPECT_TRUE(line->text().isEmpty());
    QTest::keyClick(line, Qt::Key_Escape);
    auto* combo = edit<QComboBox>(known("WindowShowMode"));
    ASSERT_TRUE(combo);
    QTest::keyClick(combo, Qt::Key_Delete);
    EXPECT_TRUE(model->edits().changes().empty());
}

TEST_F(SettingsEditorTest, TheDetailsTellOfTheSelectedSetting) {
    view->setCurrentKey(known("QtQuadView/SplitterWidth"));
    EXPECT_THAT(told(), HasSubstr("Velora/Application/QtQuadView/SplitterWidth"));
    EXPECT_THAT(told(), HasSubstr("width of the lines"));
    EXPECT_THAT(told(), HasSubstr("a whole number from 1 to 64"));
    EXPECT_THAT(told(), HasSubstr("The default; nothing is stored."));
    view->setCurrentKey(known("MaxPatientID"));
    EXPECT_THAT(told(), HasSubstr("differs from the default"));
}

TEST_F(SettingsEditorTest, WhatOthersChangedIsAskedFor) {
    const QString title = text("Velora/Planning/Title");
    const QString margin = text("Velora/Planning/Margin");
    type(title, "Hip");
    type(margin, "2");
    // Another process, which knows nothing of this one.
    writeFile(Settings::filePath(), "[Velora]\nPlanning\\Margin=3\nPlanning\\Title=Spine\nX=1\n");
    const FileState theirs;
    const auto check = [](SettingsConflictDialog& asked, int row, std::vector<const char*> texts) {
        const auto* table = asked.findChild<QTableWidget*>();
        ASSERT_EQ(table->rowCount(), 2);
        for (size_t column = 0; column < texts.size(); ++column)
            EXPECT_EQ(table->item(row, static_cast<int>(column))->text(), text(texts[column]));
    };
    whenOpen<SettingsConflictDialog>([&](SettingsConflictDialog& asked) {
        check(asked, 0, {"Velora/Planning/Margin", "1.5", "3", "2"});
        check(asked, 1, {"Velora/Planning/Title", "Knee", "Spine", "Hip"});
        EXPECT_TRUE(FileState() == theirs);
        asked.reject();
    });
    QTest::mouseClick(button("OK"), Qt::LeftButton);
    EXPECT_TRUE(dialog->isVisible());
    EXPECT_TRUE(FileState() == theirs);
    EXPECT_EQ(model->edits().changes().size(), 2U);

    whenOpen<SettingsConflictDialog>([&](SettingsConflictDialog& asked) {
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
    type(text("Velora/Planning/Title"), "Hip");
    const FileState before;
    {
        const ReadOnlyFolder closed(QFileInfo(Settings::filePath()).path());
        QTest::mouseClick(button("OK"), Qt::LeftButton);
    }
    EXPECT_TRUE(dialog->isVisible());
    EXPECT_THAT(told(), HasSubstr("Nothing was stored. Could not"));
    EXPECT_TRUE(FileState() == before);
    EXPECT_EQ(model->edits().text(text("Velora/Planning/Title")), text("Hip"));
    QTest::mouseClick(button("OK"), Qt::LeftButton);
    EXPECT_FALSE(dialog->isVisible());
    EXPECT_EQ(Settings::get(text("Velora/Planning/Title"), ""), text("Hip"));
}

TEST_F(SettingsEditorTest, EveryMnemonicIsUsedOnce) {
    QString letters;
    const auto collect = [&](const QString& label) {
        const int place = label.indexOf(QLatin1Char('&'));
        ASSERT_GE(place, 0) << label.toStdString();
        const QChar letter = label.at(place + 1).toLower();
        EXPECT_FALSE(letters.contains(letter)) << label.toStdString();
        letters += letter;
    };
    const auto buttons = dialog->findChildren<QAbstractButton*>();
    for (const QAbstractButton* candidate : buttons)
        if (candidate->focusPolicy() != Qt::NoFocus)
            collect(candidate->text());
    const auto labels = dialog->findChildren<QLabel*>();
    for (const QLabel* label : labels)
        if (label->buddy())
            collect(label->text());
    EXPECT_EQ(letters.size(), 10);
}

TEST_F(SettingsEditorTest, TheWindowFitsTheScreenWhateverTheTexts) {
    const QString title = text("Velora/Planning/Title");
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

TEST_F(SettingsEditorTest, TabLeadsFromTopToBottom) {
    dialog->findChild<QLineEdit*>()->setFocus();
    int previous = -1;
    for (QWidget* first = dialog->focusWidget(); previous < 0 || dialog->focusWidget() != first;) {
        const QPoint place = dialog->focusWidget()->mapTo(dialog.get(), QPoint());
        EXPECT_GE(place.y() + 5, previous);
        previous = place.y();
        QTest::keyClick(dialog->focusWidget(), Qt::Key_Tab);
    }
}
