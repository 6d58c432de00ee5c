#include "Base/PlainText.h"

#include <QtCore/QCoreApplication>
#include <QtGui/QHelpEvent>
#include <QtGui/QTextDocument>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QTabBar>
#include <QtWidgets/QToolTip>
#include <QtWidgets/QWhatsThis>

namespace vlr {

namespace {

const char* const richProperty = "vlrRichToolTips";
const QString opening = QStringLiteral("<p style='white-space:pre-wrap'>");
const QString closing = QStringLiteral("</p>");

QString headerTip(const QHeaderView& header, const QPoint& position) {
    const int section = header.logicalIndexAt(position);
    return section < 0 || !header.model()
               ? QString()
               : header.model()
                     ->headerData(section, header.orientation(), Qt::ToolTipRole)
                     .toString();
}

// What Qt would show at the position in this widget; the widget that it belongs to.
QString tipOf(QWidget& widget, const QPoint& position, const QWidget*& owner) {
    owner = &widget;
    if (const auto* const tabs = qobject_cast<QTabBar*>(&widget)) {
        const int tab = tabs->tabAt(position);
        const QString tip = tab < 0 ? QString() : tabs->tabToolTip(tab);
        return tip.isEmpty() ? widget.toolTip() : tip;
    }
    const auto* const view = qobject_cast<QAbstractItemView*>(widget.parentWidget());
    if (!view || view->viewport() != &widget)
        return widget.toolTip();
    owner = view;
    const auto* const header = qobject_cast<const QHeaderView*>(view);
    const QString tip = header ? headerTip(*header, position)
                               : view->indexAt(position).data(Qt::ToolTipRole).toString();
    return tip.isEmpty() ? view->toolTip() : tip;
}

bool mayBeRich(const QWidget& widget) {
    return widget.property(richProperty).toBool();
}

bool showPlainTip(QWidget& widget, const QHelpEvent& event) {
    const QWidget* owner = nullptr;
    const QString tip = tipOf(widget, event.pos(), owner);
    if (isPlainToolTip(tip) || mayBeRich(*owner))
        return false;
    QToolTip::showText(event.globalPos(), plainToolTip(tip), &widget, QRect(),
                       widget.toolTipDuration());
    return true;
}

bool showPlainExplanation(QWidget& widget, const QHelpEvent& event) {
    if (isPlainToolTip(widget.whatsThis()) || mayBeRich(widget))
        return false;
    QWhatsThis::showText(event.globalPos(), plainToolTip(widget.whatsThis()), &widget);
    return true;
}

} // namespace

QString plainToolTip(const QString& text) {
    return text.isEmpty() ? QString() : opening + text.toHtmlEscaped() + closing;
}

bool isPlainToolTip(const QString& text) {
    if (!Qt::mightBeRichText(text))
        return true;
    const QString inner = text.mid(opening.size(), text.size() - opening.size() - closing.size());
    return text.startsWith(opening) && text.endsWith(closing) && !inner.contains(QLatin1Char('<'));
}

void allowRichToolTips(QWidget& widget) {
    widget.setProperty(richProperty, true);
}

PlainToolTips::PlainToolTips(QObject* parent) : QObject(parent) {
    QCoreApplication::instance()->installEventFilter(this);
}

bool PlainToolTips::eventFilter(QObject* watched, QEvent* event) {
    const QEvent::Type type = event->type();
    if ((type != QEvent::ToolTip && type != QEvent::WhatsThis) || !watched->isWidgetType())
        return false;
    auto& widget = static_cast<QWidget&>(*watched);
    const auto& help = static_cast<const QHelpEvent&>(*event);
    const bool isShown =
        type == QEvent::ToolTip ? showPlainTip(widget, help) : showPlainExplanation(widget, help);
    if (isShown)
        event->accept();
    return isShown;
}

} // namespace vlr
