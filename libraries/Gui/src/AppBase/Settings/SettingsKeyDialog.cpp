#include "AppBase/Settings/SettingsKeyDialog.h"

#include "Base/WheelGuard.h"

#include <QtGui/QAccessible>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QFormLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>

namespace vlr {

namespace {

using Kind = SettingsType::Kind;

SettingsType newType(Kind kind) {
    if (kind == Kind::Integer)
        return integerType();
    SettingsType type;
    type.kind = kind;
    return type;
}

QComboBox* createTypes() {
    const auto tr = [](const char* text) { return SettingsKeyDialog::tr(text); };
    auto* types = new QComboBox;
    types->addItem(tr("Text"), static_cast<int>(Kind::Text));
    types->addItem(tr("True or false"), static_cast<int>(Kind::Bool));
    types->addItem(tr("Whole number"), static_cast<int>(Kind::Integer));
    types->addItem(tr("Number"), static_cast<int>(Kind::Number));
    types->addItem(tr("Size"), static_cast<int>(Kind::Size));
    types->addItem(tr("Three numbers"), static_cast<int>(Kind::Vector));
    return types;
}

} // namespace

SettingsKeyDialog::SettingsKeyDialog(const SettingsEdits& edits, Purpose purpose,
                                     const QString& key, QWidget* parent)
    : QDialog(parent, Qt::WindowTitleHint | Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint),
      m_edits(edits), m_oldKey(key), m_key(new QLineEdit(key)), m_refusal(new QLabel) {
    const bool isNew = purpose == Purpose::Add;
    if (isNew)
        m_type = createTypes();
    setWindowTitle(isNew ? tr("Add Setting") : tr("Rename Setting"));
    m_key->setMinimumWidth(fontMetrics().averageCharWidth() * 60);
    m_refusal->setTextFormat(Qt::PlainText); // It names the path.
    m_refusal->setWordWrap(true);
    m_refusal->setMinimumHeight(fontMetrics().lineSpacing());

    auto* form = new QFormLayout(this);
    form->addRow(tr("&Path:"), m_key);
    form->addRow(QString(), m_refusal);
    if (isNew)
        form->addRow(tr("&Type:"), m_type);
    auto* buttons = new QDialogButtonBox;
    buttons->addButton(tr("&OK"), QDialogButtonBox::AcceptRole);
    buttons->addButton(tr("&Cancel"), QDialogButtonBox::RejectRole);
    form->addRow(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &SettingsKeyDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &SettingsKeyDialog::reject);
    new WheelGuard(this);
    connect(m_key, &QLineEdit::textChanged, m_refusal, &QLabel::clear);
}

QString SettingsKeyDialog::key() const {
    return m_key->text().trimmed();
}

SettingsType SettingsKeyDialog::type() const {
    return m_type ? newType(static_cast<Kind>(m_type->currentData().toInt()))
                  : m_edits.type(m_oldKey);
}

void SettingsKeyDialog::accept() {
    const bool isSame = !m_type && key() == m_oldKey;
    const QString problem = isSame ? QString() : m_edits.keyProblem(key());
    m_refusal->setText(problem);
    m_key->setAccessibleDescription(problem);
    if (problem.isEmpty())
        return QDialog::accept();
    QAccessibleEvent alert(m_refusal, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
    m_key->setFocus();
}

} // namespace vlr
