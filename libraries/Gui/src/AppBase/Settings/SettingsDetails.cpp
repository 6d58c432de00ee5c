#include "AppBase/Settings/SettingsDetails.h"

#include "AppBase/Settings/SettingsEdits.h"

#include <QtWidgets/QGridLayout>
#include <QtWidgets/QLabel>

#include <algorithm>

namespace vlr {

namespace {

constexpr int longestText = 300; // What is longer pushes everything else out of the window.

// A label that never asks for more width than there is.
QLabel* addLabel(QGridLayout* grid, const QString& caption, int row, int column, int columns) {
    auto* label = new QLabel;
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setAlignment(Qt::AlignTop | Qt::AlignLeading);
    label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    label->setAccessibleName(caption);
    grid->addWidget(new QLabel(caption), row, column, Qt::AlignTop | Qt::AlignLeading);
    grid->addWidget(label, row, column + 1, 1, columns);
    return label;
}

void setText(QLabel* label, QString text) {
    if (text.size() > longestText)
        text = text.left(longestText) + QChar(0x2026);
    label->setText(text);
    label->setAccessibleDescription(text);
}

} // namespace

SettingsDetails::SettingsDetails(QWidget* parent) : QFrame(parent) {
    setFrameShape(QFrame::StyledPanel);
    auto* grid = new QGridLayout(this);
    m_key = addLabel(grid, tr("Path:"), 0, 0, 3);
    m_meaning = addLabel(grid, tr("Meaning:"), 1, 0, 3);
    m_default = addLabel(grid, tr("Default:"), 2, 0, 1);
    m_takes = addLabel(grid, tr("Takes:"), 2, 2, 1);
    m_status = addLabel(grid, tr("State:"), 3, 0, 3);
    grid->setColumnStretch(1, 2);
    grid->setColumnStretch(3, 3);
}

void SettingsDetails::show(const SettingsEdits& edits, const QString& key) {
    const KnownSetting* const known = edits.known(key);
    QString path = key;
    setText(m_key, path.replace(QLatin1Char('/'), QStringLiteral("/\u200b"))); // may wrap there
    if (key.isEmpty()) {
        for (QLabel* label : {m_meaning, m_default, m_takes, m_status})
            setText(label, {});
        return claimHeight();
    }
    const QString nobodyKnows = tr("Not known to this program.");
    setText(m_meaning, known ? known->meaning : nobodyKnows);
    setText(m_default, !known                         ? tr("none")
                       : known->defaultText.isEmpty() ? tr("(empty)")
                                                      : known->defaultText);
    setText(m_takes, describe(edits.type(key)));
    setText(m_status, edits.status(key));
    claimHeight();
}

// A window does not grow by itself for lines that are broken.
void SettingsDetails::claimHeight() {
    const int line = fontMetrics().lineSpacing();
    for (QLabel* label : {m_key, m_meaning, m_default, m_takes, m_status}) {
        const int least = label == m_meaning ? 2 * line : line; // so that little jumps
        label->setMinimumHeight(std::max(least, label->heightForWidth(label->width())));
    }
}

void SettingsDetails::resizeEvent(QResizeEvent* event) {
    QFrame::resizeEvent(event);
    claimHeight();
}

} // namespace vlr
