#pragma once

#include "vlrGuiExport.h"

#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QSize>
#include <QtWidgets/QStyle>
#include <QtWidgets/QWidget>

#include <vector>

namespace vlr {

/// As long as it lives, what is pressed or typed into is large enough for a finger in every dialog
/// and every editing widget of data (QtDataConfigurationWidget) that is shown: buttons, tabs,
/// fields, and the step buttons and arrows in fields. What is shown later in such a one follows.
/// With it everything goes back to the size it had. A field that was given a style of its own
/// keeps it; style sheets hold.
class VLR_GUI_EXPORT TouchDialogs : public QObject {
public:
    explicit TouchDialogs(QObject* parent = nullptr);
    ~TouchDialogs() override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    struct Grown {
        QPointer<QWidget> widget;
        QSize minimum;
        QPointer<QStyle> style; ///< Null where the widget has none of ours.
    };

    void growAll(QWidget* form);
    void grow(QWidget* widget);
    bool isGrown(const QWidget* widget) const;

    std::vector<Grown> m_grown;
};

} // namespace vlr
