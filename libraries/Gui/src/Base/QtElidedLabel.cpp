#include "Base/QtElidedLabel.h"

#include "Base/PlainText.h"

#include <QtCore/QEvent>

QtElidedLabel::QtElidedLabel(Qt::TextElideMode mode, QWidget* parent)
    : QLabel(parent), m_mode(mode) {
    setTextFormat(Qt::PlainText);
    // The text must not decide how wide the label is.
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
}

void QtElidedLabel::setFullText(const QString& text) {
    m_fullText = text;
    setAccessibleName(text);
    elide();
}

QSize QtElidedLabel::sizeHint() const {
    return {0, fontMetrics().height() + 2 * margin()};
}

void QtElidedLabel::resizeEvent(QResizeEvent* event) {
    QLabel::resizeEvent(event);
    elide();
}

void QtElidedLabel::changeEvent(QEvent* event) {
    QLabel::changeEvent(event);
    if (event->type() == QEvent::FontChange)
        elide();
}

void QtElidedLabel::elide() {
    const QString line = m_fullText.simplified();
    const QString shown = fontMetrics().elidedText(line, m_mode, contentsRect().width());
    setText(shown);
    setToolTip(shown == line ? QString() : vlr::plainToolTip(m_fullText));
}
