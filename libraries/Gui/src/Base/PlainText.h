#pragma once

#include "vlrGuiExport.h"

#include <QtCore/QObject>
#include <QtCore/QString>

class QWidget;

namespace vlr {

/// Qt takes whatever looks like markup for markup: a tool tip or a label with a file name such as
/// "<img src=...>" would open what is named there. A text that comes from data is shown as it is.
///
///     item->setToolTip(vlr::plainToolTip(fileName));
///
/// The text as a tool tip or "What's This?" text that wraps, and in which nothing is taken for
/// markup. Line breaks and blanks stay. An empty text stays empty, which is no tool tip.
VLR_GUI_EXPORT QString plainToolTip(const QString& text);
/// Whether the text is one of plainToolTip(), or so plain that Qt shows it as it is.
VLR_GUI_EXPORT bool isPlainToolTip(const QString& text);

/// Lets the tool tip and the "What's This?" text of the widget, or the tool tips of an item view's
/// cells and of a tab bar's tabs, be markup. Only for texts in which nothing comes from data.
VLR_GUI_EXPORT void allowRichToolTips(QWidget& widget);

/// Shows every tool tip and "What's This?" text as plain text, whoever forgot plainToolTip(),
/// except those of allowRichToolTips(): those of widgets, of cells and headers of item views, and
/// of tabs. Tips that a class shows in a way of its own are not seen. QtApplication has one.
class VLR_GUI_EXPORT PlainToolTips : public QObject {
    Q_OBJECT

public:
    /// Sees the events of the whole application as long as it lives; there has to be one.
    explicit PlainToolTips(QObject* parent);
    bool eventFilter(QObject* watched, QEvent* event) override;
};

} // namespace vlr
