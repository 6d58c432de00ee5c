#include "Review/ScreenshotDelegate.h"

#include "Base/Icons.h"
#include "Base/QtMessageLine.h"
#include "Review/ScreenshotModel.h"

#include <QtGui/QPainter>
#include <QtWidgets/QApplication>

namespace {

constexpr int margin = 8;
constexpr int iconSide = 24;
constexpr QSize pictureSize = ScreenshotModel::thumbnailSize;

void paintPicture(QPainter& painter, const QRect& place, const QPixmap& picture) {
    QRect target(QPoint(), picture.size() / picture.devicePixelRatio());
    target.moveCenter(place.center());
    painter.drawPixmap(target.topLeft(), picture);
}

void paintReason(QPainter& painter, const QRect& place, const QString& reason,
                 const QPalette& palette) {
    const QRect iconPlace(place.center().x() - iconSide / 2, place.top() + margin, iconSide,
                          iconSide);
    vlr::icon(QStringLiteral("Warning")).paint(&painter, iconPlace);
    const QRect textPlace = place.adjusted(margin, iconSide + 2 * margin, -margin, -margin);
    painter.setPen(palette.color(QPalette::WindowText));
    painter.setClipRect(textPlace);
    painter.drawText(textPlace, Qt::AlignHCenter | Qt::AlignTop | Qt::TextWordWrap,
                     vlr::breakable(reason));
    painter.setClipping(false);
}

} // namespace

QSize ScreenshotDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const {
    return {pictureSize.width() + 2 * margin,
            pictureSize.height() + 3 * margin + option.fontMetrics.height()};
}

void ScreenshotDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                               const QModelIndex& index) const {
    const QStyle* const style = option.widget ? option.widget->style() : QApplication::style();
    QStyleOptionViewItem item = option;
    item.showDecorationSelected = true;
    painter->save();
    style->drawPrimitive(QStyle::PE_PanelItemViewItem, &item, painter, option.widget);

    const QRect place(option.rect.topLeft() + QPoint(margin, margin), pictureSize);
    painter->fillRect(place, option.palette.color(QPalette::Window));
    painter->setPen(option.palette.color(QPalette::Mid));
    painter->drawRect(place.adjusted(-1, -1, 0, 0));
    const auto reason = index.data(ScreenshotModel::ReasonRole).toString();
    const auto picture = index.data(Qt::DecorationRole).value<QPixmap>();
    if (!reason.isEmpty())
        paintReason(*painter, place, reason, option.palette);
    else if (!picture.isNull())
        paintPicture(*painter, place, picture);

    const QRect line(place.left(), place.bottom() + margin, place.width(),
                     option.fontMetrics.height());
    const bool isSelected = option.state.testFlag(QStyle::State_Selected);
    painter->setPen(option.palette.color(isSelected ? QPalette::HighlightedText : QPalette::Text));
    const QString title = index.data(Qt::DisplayRole).toString();
    painter->drawText(line, Qt::AlignCenter,
                      option.fontMetrics.elidedText(title, Qt::ElideMiddle, line.width()));
    painter->restore();
}
