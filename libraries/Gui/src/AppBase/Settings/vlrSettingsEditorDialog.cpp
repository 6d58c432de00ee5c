#include "AppBase/Settings/vlrSettingsEditorDialog.h"

#include "AppBase/Settings/SettingsChangeList.h"
#include "AppBase/Settings/SettingsConflictDialog.h"
#include "AppBase/Settings/SettingsDetails.h"
#include "AppBase/Settings/SettingsKeyDialog.h"
#include "AppBase/Settings/SettingsModel.h"
#include "AppBase/Settings/SettingsView.h"

#include <QtCore/QPointer>
#include <QtGui/QAccessible>
#include <QtGui/QKeyEvent>
#include <QtGui/QScreen>
#include <QtWidgets/QAction>
#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QMenu>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QStyle>
#include <QtWidgets/QVBoxLayout>

#include <utility>

namespace vlr {

namespace {

// Escape clears the text before it leaves the dialog; Enter and Down lead to what was found.
class SearchLine : public QLineEdit {
public:
    // The ready-made clear button fades in and out; the animation is lost when the line goes first.
    explicit SearchLine(QWidget* results) : m_results(results) {
        auto* clearing = addAction(style()->standardIcon(QStyle::SP_LineEditClearButton),
                                   QLineEdit::TrailingPosition);
        clearing->setText(SettingsEditorDialog::tr("Clear the search"));
        clearing->setVisible(false);
        connect(clearing, &QAction::triggered, this, &QLineEdit::clear);
        connect(this, &QLineEdit::textChanged, clearing,
                [clearing](const QString& text) { clearing->setVisible(!text.isEmpty()); });
    }

protected:
    void keyPressEvent(QKeyEvent* event) override {
        const int key = event->key();
        if (key == Qt::Key_Escape && !text().isEmpty())
            clear();
        else if (key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_Down)
            m_results->setFocus(Qt::OtherFocusReason);
        else
            QLineEdit::keyPressEvent(event);
    }

private:
    QWidget* m_results;
};

// A dialog over the editor, which is its parent and may be deleted while the dialog runs: the
// dialog goes first, and what was going to happen with its answer must not happen any more.
template <class Dialog>
class Nested {
public:
    template <class... Arguments>
    explicit Nested(Arguments&&... arguments)
        : m_dialog(new Dialog(std::forward<Arguments>(arguments)...)) {}
    ~Nested() { delete m_dialog; }
    Nested(const Nested&) = delete;
    Nested& operator=(const Nested&) = delete;

    bool run() { return m_dialog->exec() == QDialog::Accepted && isAlive(); }
    bool isAlive() const { return !m_dialog.isNull(); } // and with it the editor
    const Dialog* operator->() const { return m_dialog; }

private:
    QPointer<Dialog> m_dialog;
};

} // namespace

SettingsEditorDialog::SettingsEditorDialog(QWidget* parent)
    : SettingsEditorDialog(std::make_unique<SettingsDatabase>(), parent) {}

SettingsEditorDialog::SettingsEditorDialog(std::unique_ptr<SettingsSource> own, QWidget* parent)
    : SettingsEditorDialog(*own, parent) {
    m_ownSource = std::move(own);
}

SettingsEditorDialog::SettingsEditorDialog(SettingsSource& source, QWidget* parent)
    : QDialog(parent, Qt::WindowTitleHint | Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint),
      m_model(std::make_unique<SettingsModel>(source)), m_view(new SettingsView(*m_model)),
      m_details(new SettingsDetails), m_changes(new SettingsChangeList),
      m_search(new SearchLine(m_view)), m_matches(new QLabel), m_messageIcon(new QLabel),
      m_message(new QLabel) {
    setModal(true);
    setWindowTitle(tr("Settings Editor"));
    build();
    connect(m_model.get(), &SettingsModel::edited, this, &SettingsEditorDialog::updateAll);
    connect(m_view, &SettingsView::currentKeyChanged, this, &SettingsEditorDialog::updateSelected);
    connect(m_changes, &SettingsChangeList::chosen, m_view, &SettingsView::setCurrentKey);
    m_view->setCurrentIndex(m_model->index(0, 0));
    updateAll();
}

// The view looks at the model to its end.
SettingsEditorDialog::~SettingsEditorDialog() {
    delete m_view;
}

// --- construction

void SettingsEditorDialog::build() {
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(createSearch());
    layout->addWidget(m_view, 1);
    layout->addLayout(createCommands());
    layout->addWidget(m_details);
    layout->addWidget(m_changes);
    layout->addLayout(createMessage());
    layout->addWidget(createButtons());
    m_view->setAccessibleName(tr("Settings"));
    const QSize wanted(fontMetrics().averageCharWidth() * 120, fontMetrics().lineSpacing() * 44);
    resize(wanted.boundedTo(screen()->availableGeometry().size() * 9 / 10));
    m_view->header()->resizeSection(SettingsModel::SettingColumn, width() * 3 / 5);
    m_view->setMinimumHeight(m_view->header()->sizeHint().height() * 5);
}

QLayout* SettingsEditorDialog::createSearch() {
    m_search->setPlaceholderText(tr("Part of a key or value"));
    auto* label = new QLabel(tr("&Search:"));
    label->setBuddy(m_search);
    auto* layout = new QHBoxLayout;
    layout->addWidget(label);
    layout->addWidget(m_search, 1);
    layout->addWidget(m_matches);
    m_matches->hide();
    connect(m_search, &QLineEdit::textChanged, m_view, &SettingsView::setSearch);
    connect(m_view, &SettingsView::found, this, &SettingsEditorDialog::showFound);
    return layout;
}

// A command in the context menu and, with a row, as a button in it.
QAction* SettingsEditorDialog::createCommand(const QString& text, Command command,
                                             QBoxLayout* row) {
    auto* action = new QAction(text, this);
    connect(action, &QAction::triggered, this, command);
    m_view->addAction(action);
    if (!row)
        return action;
    auto* button = new QPushButton(text);
    button->setAutoDefault(false);
    row->addWidget(button);
    connect(button, &QPushButton::clicked, action, &QAction::trigger);
    connect(action, &QAction::changed, button,
            [action, button] { button->setEnabled(action->isEnabled()); });
    return action;
}

QLayout* SettingsEditorDialog::createCommands() {
    using Dialog = SettingsEditorDialog;
    auto* row = new QHBoxLayout;
    m_edit = createCommand(tr("&Edit Value"), &Dialog::editSetting);
    m_edit->setShortcut(Qt::Key_F2);
    createCommand(tr("A&dd..."), &Dialog::addSetting, row);
    m_rename = createCommand(tr("Rena&me..."), &Dialog::renameSetting, row);
    m_remove = createCommand(tr("De&lete"), &Dialog::removeSetting, row);
    m_remove->setShortcut(Qt::Key_Delete);
    m_revert = createCommand(tr("Re&vert"), &Dialog::revertSetting, row);
    m_reset = createCommand(tr("Reset to De&fault"), &Dialog::removeSetting, row);
    row->addStretch(1);
    // Keys that are typed into an editor or the search line are not meant for the tree.
    for (QAction* action : {m_edit, m_remove})
        action->setShortcutContext(Qt::WidgetShortcut);
    m_view->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(m_view, &QWidget::customContextMenuRequested, this, &Dialog::showMenu);
    return row;
}

QLayout* SettingsEditorDialog::createMessage() {
    m_message->setTextFormat(Qt::PlainText);
    m_message->setWordWrap(true);
    m_message->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_message->hide();
    m_messageIcon->hide();
    auto* layout = new QHBoxLayout;
    layout->addWidget(m_messageIcon);
    layout->addWidget(m_message, 1);
    return layout;
}

QWidget* SettingsEditorDialog::createButtons() {
    auto* buttons = new QDialogButtonBox;
    const auto add = [&](const QString& text, QDialogButtonBox::ButtonRole role) {
        auto* button = buttons->addButton(text, role);
        button->setAutoDefault(false);
        return button;
    };
    add(tr("&OK"), QDialogButtonBox::AcceptRole)->setDefault(true);
    auto* apply = add(tr("&Apply"), QDialogButtonBox::ApplyRole);
    add(tr("&Cancel"), QDialogButtonBox::RejectRole);
    connect(buttons, &QDialogButtonBox::accepted, this, &SettingsEditorDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &SettingsEditorDialog::reject);
    connect(apply, &QPushButton::clicked, this, &SettingsEditorDialog::applyChanges);
    return buttons;
}

// --- commands

void SettingsEditorDialog::showFound(int count) {
    m_matches->setText(count == 0 ? tr("Nothing found") : tr("%1 found").arg(count));
    m_matches->setVisible(!m_search->text().isEmpty());
}

// The ready-made menu of actions does not survive it when the dialog is deleted under it.
void SettingsEditorDialog::showMenu(const QPoint& place) {
    auto* menu = new QMenu(m_view);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addActions(m_view->actions());
    menu->popup(m_view->viewport()->mapToGlobal(place));
}

void SettingsEditorDialog::editSetting() {
    m_view->editCurrent();
}

void SettingsEditorDialog::addSetting() {
    if (!m_view->finishEditing())
        return;
    const QString path = m_view->currentIndex().data(SettingsModel::KeyRole).toString();
    const QString group =
        m_view->currentKey().isEmpty() ? path : path.left(path.lastIndexOf(QLatin1Char('/')));
    const QString start = group.isEmpty() ? group : group + QLatin1Char('/');
    Nested<SettingsKeyDialog> dialog(m_model->edits(), SettingsKeyDialog::Purpose::Add, start,
                                     this);
    if (!dialog.run())
        return;
    m_model->add(dialog->key(), dialog->type());
    m_view->setCurrentKey(dialog->key());
    m_view->setFocus();
    m_view->editCurrent();
}

void SettingsEditorDialog::renameSetting() {
    const QString key = m_view->currentKey();
    if (!m_view->finishEditing())
        return;
    Nested<SettingsKeyDialog> dialog(m_model->edits(), SettingsKeyDialog::Purpose::Rename, key,
                                     this);
    if (!dialog.run() || dialog->key() == key)
        return;
    m_model->rename(key, dialog->key());
    m_view->setCurrentKey(dialog->key());
}

void SettingsEditorDialog::removeSetting() {
    m_view->cancelEditing();
    m_model->remove(m_view->currentKey());
}

void SettingsEditorDialog::revertSetting() {
    m_view->cancelEditing();
    m_model->revert(m_view->currentKey());
}

// --- storing

void SettingsEditorDialog::accept() {
    if (store())
        QDialog::accept();
}

void SettingsEditorDialog::applyChanges() {
    if (!m_view->finishEditing())
        return;
    const bool hasChanges = !m_model->edits().changes().empty();
    if (store())
        tell(hasChanges ? tr("The changes are stored.") : tr("There is nothing to store."), false);
}

bool SettingsEditorDialog::store() {
    if (!m_view->finishEditing())
        return false;
    for (;;) {
        std::vector<SettingsConflict> conflicts;
        const CaError error = m_model->apply(conflicts);
        if (!error.isNull()) {
            tell(tr("Nothing was stored. %1").arg(QString::fromStdString(error.text())), true);
            return false;
        }
        if (conflicts.empty())
            return true;
        Nested<SettingsConflictDialog> dialog(m_model->edits(), conflicts, this);
        if (!dialog.run()) {
            if (dialog.isAlive())
                tell(tr("Nothing was stored. Another program changed some of the settings."), true);
            return false;
        }
        m_model->resolve(dialog->conflicts());
    }
}

// --- what is shown

void SettingsEditorDialog::updateAll() {
    m_changes->show(m_model->edits());
    tell(m_model->edits().readProblem(), true);
    updateSelected();
}

void SettingsEditorDialog::updateSelected() {
    const SettingsEdits& edits = m_model->edits();
    const QString key = m_view->currentKey();
    const bool hasValue = !key.isEmpty() && edits.value(key).isValid();
    m_details->show(edits, key);
    m_edit->setEnabled(!key.isEmpty() && !edits.isDeleted(key));
    m_rename->setEnabled(hasValue);
    m_remove->setEnabled(hasValue);
    m_revert->setEnabled(edits.isChanged(key));
    m_reset->setEnabled(hasValue && edits.known(key));
}

void SettingsEditorDialog::tell(const QString& text, bool isError) {
    const auto icon = isError ? QStyle::SP_MessageBoxCritical : QStyle::SP_MessageBoxInformation;
    const int size = style()->pixelMetric(QStyle::PM_SmallIconSize);
    m_messageIcon->setPixmap(style()->standardIcon(icon).pixmap(windowHandle(), {size, size}));
    m_messageIcon->setVisible(!text.isEmpty());
    m_message->setText(text);
    m_message->setVisible(!text.isEmpty());
    if (text.isEmpty())
        return;
    QAccessibleEvent alert(m_message, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
}

} // namespace vlr
