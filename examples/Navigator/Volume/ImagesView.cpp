#include "Volume/ImagesView.h"

#include "Base/QtMessageLine.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QEvent>
#include <QtCore/QFileInfo>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QSlider>

ImagesView::ImagesView(QWidget* parent)
    : QWidget(parent), m_reason(new QtMessageLine(this)), m_view(new SliceView(this)),
      m_slider(new QSlider(Qt::Horizontal, this)), m_position(new QLabel(this)) {
    m_slider->setObjectName(QStringLiteral("slice"));
    m_slider->setAccessibleName(tr("Slice"));
    m_slider->setPageStep(movedSlice(SliceMove::PageForward, 0, 1));
    m_slider->setEnabled(false);
    // Keys and wheel do the same everywhere in this view.
    m_slider->setFocusPolicy(Qt::NoFocus);
    m_slider->installEventFilter(this);
    m_view->setObjectName(QStringLiteral("sliceView"));
    m_position->setObjectName(QStringLiteral("slicePosition"));
    m_reason->setObjectName(QStringLiteral("volumeReason"));
    m_reason->setContentsMargins(9, 6, 9, 6);
    setFocusProxy(m_view);

    auto* row = new QHBoxLayout;
    row->setContentsMargins(9, 4, 9, 8);
    row->setSpacing(9);
    row->addWidget(m_slider, 1);
    row->addWidget(m_position);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(m_reason);
    column->addWidget(m_view, 1);
    column->addLayout(row);
    connect(m_view, &SliceView::moveRequested, this, &ImagesView::move);
    connect(m_slider, &QSlider::valueChanged, this, &ImagesView::showSlice);
}

int ImagesView::slice() const {
    return m_slider->value();
}

void ImagesView::setSlice(int slice) {
    m_slider->setValue(slice);
}

void ImagesView::showSeries(const vlr::ImageSeries& series, int slice) {
    m_cache.setSeries(series);
    {
        const QSignalBlocker blocker(m_slider);
        m_slider->setRange(0, series.count() - 1);
        m_slider->setValue(slice);
    }
    m_slider->setEnabled(series.count() > 1);
    // As wide as the widest, so that the slider does not change its length under the hand.
    const QString widest = tr("Slice %1 of %1").arg(series.count());
    m_position->setMinimumWidth(m_position->fontMetrics().horizontalAdvance(widest));
    showSlice();
}

void ImagesView::showNote(const QString& text) {
    m_cache.setSeries({});
    const QSignalBlocker blocker(m_slider);
    m_slider->setRange(0, 0);
    m_slider->setEnabled(false);
    m_position->clear();
    m_reason->clear();
    m_view->showNote(text);
}

void ImagesView::setReason(const QString& text) {
    m_reason->showMessage(QStringLiteral("Information"), text);
}

void ImagesView::move(SliceMove move) {
    m_slider->setValue(movedSlice(move, slice(), series().count()));
}

void ImagesView::showSlice() {
    const int index = slice();
    const Slice shown = m_cache.slice(index);
    m_position->setText(tr("Slice %1 of %2").arg(index + 1).arg(series().count()));
    QStringList text{title(), tr("%1 / %2").arg(index + 1).arg(series().count())};
    if (shown.error == CaError::nullError) {
        text << tr("%1 x %2 pixels").arg(shown.image.width()).arg(shown.image.height());
        if (shown.greys)
            text << tr("grey values %1 to %2").arg(shown.greys->first).arg(shown.greys->second);
        m_view->showImage(shown.image, text);
    } else {
        m_view->showProblem(title(), QString::fromStdString(shown.error.text()), text);
        emit sliceFailed(index, shown.error);
    }
    emit sliceChanged(index);
}

QString ImagesView::title() const {
    const QString name = QFileInfo(series().path(slice())).fileName();
    const int filePage = series().page(slice());
    const bool hasPages = filePage > 0 || series().path(slice()) == series().path(slice() + 1);
    return hasPages ? tr("%1, page %2").arg(name).arg(filePage + 1) : name;
}

bool ImagesView::eventFilter(QObject* watched, QEvent* event) {
    if (watched == m_slider && event->type() == QEvent::Wheel)
        return QCoreApplication::sendEvent(m_view, event);
    return QWidget::eventFilter(watched, event);
}
