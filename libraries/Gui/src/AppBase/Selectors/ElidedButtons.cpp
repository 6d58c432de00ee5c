#include "AppBase/Selectors/ElidedButtons.h"

#include "Base/PlainText.h"

#include <QtGui/QKeySequence>
#include <QtWidgets/QStyle>
#include <QtWidgets/QStyleOptionButton>
#include <QtWidgets/QStyleOptionToolButton>
#include <QtWidgets/QStylePainter>

namespace {

constexpr int margin = 12;

void setWholeText(QAbstractButton* button, const QString& text) {
    button->setText(text);
    button->setShortcut(QKeySequence()); // setText() makes one of an "&".
    button->setToolTip(vlr::plainToolTip(text));
    button->setAccessibleName(text);
}

QString shownText(const QWidget* widget, const QString& text, int width) {
    return widget->fontMetrics()
        .elidedText(text.simplified(), Qt::ElideRight, width)
        .replace(QLatin1Char('&'), QStringLiteral("&&"));
}

QSize bounded(const QSize& size) {
    return {qMin(size.width(), widestModuleButton), size.height()};
}

} // namespace

ElidedToolButton::ElidedToolButton(const QString& text, QWidget* parent) : QToolButton(parent) {
    setWholeText(this, text);
    setToolButtonStyle(Qt::ToolButtonTextOnly);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
}

QSize ElidedToolButton::sizeHint() const {
    const int height = fontMetrics().height() + margin;
    return bounded({fontMetrics().horizontalAdvance(text().simplified()) + 2 * margin, height});
}

void ElidedToolButton::paintEvent(QPaintEvent*) {
    QStylePainter painter(this);
    QStyleOptionToolButton option;
    initStyleOption(&option);
    option.text = shownText(this, text(), width() - margin);
    painter.drawComplexControl(QStyle::CC_ToolButton, option);
}

ElidedRadioButton::ElidedRadioButton(const QString& text, QWidget* parent) : QRadioButton(parent) {
    setWholeText(this, text);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
}

QSize ElidedRadioButton::sizeHint() const {
    return bounded(QRadioButton::sizeHint()).expandedTo({0, fontMetrics().height() + margin});
}

void ElidedRadioButton::paintEvent(QPaintEvent*) {
    QStylePainter painter(this);
    QStyleOptionButton option;
    initStyleOption(&option);
    const QRect text = style()->subElementRect(QStyle::SE_RadioButtonContents, &option, this);
    option.text = shownText(this, this->text(), text.width());
    painter.drawControl(QStyle::CE_RadioButton, option);
}
