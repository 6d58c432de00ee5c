#include "AppBase/Settings/SettingsDelegate.h"

#include "Base/TouchTargets.h"

#include <QtCore/QTimer>
#include <QtGui/QAccessible>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QSpinBox>
#include <QtWidgets/QToolTip>

#include <algorithm>

namespace vlr {

namespace {

using Kind = SettingsType::Kind;

constexpr int refusalMargin = 8;
constexpr int leastRefusalWidth = 320;

QString textOf(QWidget* editor) {
    if (const auto* combo = qobject_cast<QComboBox*>(editor))
        return combo->currentText();
    if (auto* spin = qobject_cast<QSpinBox*>(editor)) {
        spin->interpretText();
        return QString::number(spin->value());
    }
    const auto* line = qobject_cast<QLineEdit*>(editor);
    return line ? line->text() : QString();
}

// Choosing is all there is to do, so it ends the editing.
QComboBox* createCombo(const SettingsType& type, QWidget* parent) {
    auto* combo = new QComboBox(parent);
    combo->addItems(type.kind == Kind::Bool
                        ? QStringList{QStringLiteral("false"), QStringLiteral("true")}
                        : type.choices);
    QTimer::singleShot(0, combo, &QComboBox::showPopup); // once it is in its place
    return combo;
}

QSpinBox* createSpin(const SettingsType& type, QWidget* parent) {
    auto* spin = new QSpinBox(parent);
    spin->setRange(static_cast<int>(type.minimum), static_cast<int>(type.maximum));
    return spin;
}

QLabel* createRefusal(QWidget* parent) {
    auto* label = new QLabel(parent);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setPalette(QToolTip::palette());
    label->setForegroundRole(QPalette::ToolTipText);
    label->setBackgroundRole(QPalette::ToolTipBase);
    label->setAutoFillBackground(true);
    label->setFrameShape(QFrame::Box);
    label->setMargin(4);
    label->hide();
    return label;
}

} // namespace

SettingsDelegate::SettingsDelegate(const SettingsModel& model, QObject* parent)
    : QStyledItemDelegate(parent), m_model(model), m_rowHeight(QComboBox().sizeHint().height()) {}

QSize SettingsDelegate::sizeHint(const QStyleOptionViewItem& option,
                                 const QModelIndex& index) const {
    const QSize size = QStyledItemDelegate::sizeHint(option, index);
    const int least = isForFingers(option.widget) ? std::max(fingerSize, m_rowHeight) : m_rowHeight;
    return {size.width(), std::max(size.height(), least)};
}

// --- editors

QWidget* SettingsDelegate::createEditor(QWidget* parent, const QStyleOptionViewItem&,
                                        const QModelIndex& index) const {
    m_key = m_model.key(index);
    const SettingsType type = m_model.edits().type(m_key);
    // A spin box would make a number of whatever else is stored.
    const bool isNumber = parseSetting(type, m_model.edits().text(m_key)).value.isValid();
    if (type.kind == Kind::Bool || type.kind == Kind::Choice) {
        auto* combo = createCombo(type, parent);
        connect(combo, QOverload<int>::of(&QComboBox::activated), this,
                &SettingsDelegate::finishChoice);
        m_editor = combo;
    } else if (type.kind == Kind::Integer && isNumber) {
        m_editor = createSpin(type, parent);
    } else {
        auto* line = new QLineEdit(parent);
        connect(line, &QLineEdit::textChanged, this, &SettingsDelegate::updateRefusal);
        m_editor = line;
    }
    m_editor->setAccessibleName(m_key);
    m_editor->setAutoFillBackground(true);
    if (!m_refusal)
        m_refusal = createRefusal(parent->window()); // The view may be lower than its text.
    return m_editor;
}

void SettingsDelegate::finishChoice() {
    emit commitData(m_editor);
    emit closeEditor(m_editor);
}

void SettingsDelegate::setEditorData(QWidget* editor, const QModelIndex& index) const {
    const QString text = index.data(Qt::EditRole).toString();
    if (auto* combo = qobject_cast<QComboBox*>(editor)) {
        if (combo->findText(text) < 0) // Looking at a value must not change it.
            combo->insertItem(0, text);
        combo->setCurrentText(text);
    } else if (auto* spin = qobject_cast<QSpinBox*>(editor)) {
        spin->setValue(text.toInt());
    } else if (auto* line = qobject_cast<QLineEdit*>(editor)) {
        line->setText(text);
    }
}

// Which is deleted later, and is of no interest until then.
void SettingsDelegate::destroyEditor(QWidget* editor, const QModelIndex& index) const {
    if (editor == m_editor) {
        m_editor = nullptr;
        delete m_refusal;
    }
    QStyledItemDelegate::destroyEditor(editor, index);
}

void SettingsDelegate::setModelData(QWidget* editor, QAbstractItemModel* model,
                                    const QModelIndex& index) const {
    model->setData(index, textOf(editor)); // which refuses what does not fit
}

void SettingsDelegate::updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option,
                                            const QModelIndex&) const {
    editor->setGeometry(option.rect);
    placeRefusal();
}

// --- what does not fit

QString SettingsDelegate::editedKey() const {
    return m_editor ? m_key : QString();
}

QString SettingsDelegate::refusal() const {
    if (!m_editor)
        return {};
    const QString text = textOf(m_editor);
    const SettingsEdits& edits = m_model.edits();
    return text == edits.text(m_key) ? QString() : parseSetting(edits.type(m_key), text).refusal;
}

bool SettingsDelegate::isRefused() const {
    return !refusal().isEmpty();
}

void SettingsDelegate::showRefusal() const {
    if (!m_editor || !m_refusal)
        return;
    m_refusal->setText(refusal());
    m_refusal->show();
    m_refusal->raise();
    placeRefusal();
    m_editor->setAccessibleDescription(m_refusal->text());
    QAccessibleEvent alert(m_refusal, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
}

// While one mends the text the reason follows; it does not nag from the first letter on.
void SettingsDelegate::updateRefusal() {
    if (!m_refusal || m_refusal->isHidden())
        return;
    if (isRefused())
        showRefusal();
    else
        m_refusal->hide();
}

void SettingsDelegate::placeRefusal() const {
    if (!m_editor || !m_refusal || m_refusal->isHidden())
        return;
    const QWidget* const window = m_refusal->parentWidget();
    const QRect editor(m_editor->mapTo(window, QPoint()), m_editor->size());
    const int width =
        std::min(std::max(editor.width(), leastRefusalWidth), window->width() - 2 * refusalMargin);
    const int height = m_refusal->heightForWidth(width);
    const int rightmost = window->width() - width - refusalMargin;
    const int left = std::max(refusalMargin, std::min(editor.left(), rightmost));
    const bool isBelow = editor.bottom() + height < window->height();
    const int top = isBelow ? editor.bottom() + 1 : editor.top() - height;
    m_refusal->setGeometry(left, top, width, height);
}

} // namespace vlr
