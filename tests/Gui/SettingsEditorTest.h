#pragma once

#include "AppBase/SettingsView.h"
#include "AppBase/vlrSettingsEditorDialog.h"
#include "Gui/GuiTest.h"
#include "Gui/Text.h"
#include "Settings/vlrSettings.h"

#include <QtCore/QFile>
#include <QtWidgets/QAbstractButton>

#include <sys/stat.h>

namespace vlrTest {

using vlr::Settings;
using vlr::SettingsEditorDialog;
using vlr::SettingsModel;
using vlr::SettingsView;

/// Contents, time and identity of the settings file.
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

/// An open editor on a file with a few settings.
class SettingsEditorTest : public GuiTest {
protected:
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
        dialog->show();
        activate();
        view = dialog->findChild<SettingsView*>();
        model = static_cast<SettingsModel*>(view->model());
    }

    void activate() { // for the mnemonics
        dialog->activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(dialog.get()));
    }

    template <class Editor>
    Editor* edit(const QString& key) {
        view->setFocus();
        view->setCurrentKey(key);
        QTest::keyClick(view, Qt::Key_F2);
        return editor<Editor>();
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
        ASSERT_TRUE(line) << key.toStdString();
        line->selectAll();
        QTest::keyClicks(line, text(value));
        pressEnter(line);
        ASSERT_FALSE(editor<QWidget>());
    }

    QAbstractButton* button(const char* label) const {
        const auto buttons = dialog->findChildren<QAbstractButton*>();
        for (QAbstractButton* candidate : buttons)
            if (candidate->text().remove(QLatin1Char('&')) == text(label))
                return candidate;
        ADD_FAILURE() << "no button " << label;
        return nullptr;
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

    bool isShown(const QString& key) const {
        const QModelIndex index = model->indexOf(key);
        return index.isValid() && view->visualRect(index).isValid() &&
               !view->isRowHidden(index.row(), index.parent());
    }

    std::unique_ptr<SettingsEditorDialog> dialog;
    SettingsView* view = nullptr;
    SettingsModel* model = nullptr;
};

} // namespace vlrTest
