#pragma once

#include <QtWidgets/QStyledItemDelegate>

/// Paints a screenshot of ScreenshotModel with its title below, a frame alone while it is being
/// decoded, and the reason where that failed. All are of one size, so nothing has to be decoded to
/// lay them out.
class ScreenshotDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
};
