#include "Base/QtMessageLine.h"

#include "Base/Icons.h"

#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QLabel>

namespace {

constexpr int iconSize = 16;

} // namespace

QtMessageLine::QtMessageLine(QWidget* parent)
    : QWidget(parent), m_icon(new QLabel(this)), m_label(new QLabel(this)) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(m_icon, 0, Qt::AlignTop);
    row->addWidget(m_label, 1);
    m_icon->setFixedSize(iconSize, iconSize);
    m_label->setTextFormat(Qt::PlainText);
    m_label->setWordWrap(true);
    m_label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    hide();
}

void QtMessageLine::showMessage(const QString& iconName, const QString& text) {
    m_text = text;
    m_icon->setPixmap(vlr::icon(iconName).pixmap(iconSize, iconSize));
    m_label->setText(vlr::breakable(text));
    setAccessibleName(text);
    setVisible(!text.isEmpty());
}

void QtMessageLine::clear() {
    m_text.clear();
    hide();
}

namespace vlr {

QString breakable(const QString& text) {
    constexpr QChar zeroWidthSpace(0x200B);
    constexpr int longWord = 24;
    const QString separators = QStringLiteral("/_");
    QString result;
    int length = 0; // since the last place to break at
    for (const QChar character : text) {
        result += character;
        ++length;
        if (character.isSpace()) {
            length = 0;
        } else if (separators.contains(character) || length == longWord) {
            result += zeroWidthSpace;
            length = 0;
        }
    }
    return result;
}

} // namespace vlr
