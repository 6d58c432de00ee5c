#include "Base/QtQVSimpleSplitter.h"

#include "Base/LayoutPictures.h"
#include "Base/QtDraggerButton.h"
#include "Base/QtQVSplitterFrame.h"

#include <QtGui/QIcon>
#include <QtWidgets/QBoxLayout>

#include <algorithm>
#include <cstdlib>
#include <initializer_list>

namespace {

constexpr int firstHalf = 0;
constexpr int centre = 1;
constexpr int secondHalf = 2;
constexpr int insetDivisor = 20;
constexpr QSize buttonSize(32, 32);
constexpr QSize fingerButtonSize(36, 36); // 9 mm at 96 dots per inch
constexpr QSize buttonIconSize(24, 24);

} // namespace

QtQVSimpleSplitter::QtQVSimpleSplitter(QWidget* parent, int orientation, int position)
    : QObject(parent), m_line(new QtQVSplitterFrame(parent, orientation)),
      m_position(std::max(firstHalf, std::min(secondHalf, position))) {
    connect(m_line, &QtQVSplitterFrame::mmove, this, &QtQVSimpleSplitter::mouseMove);
    connect(m_line, &QtQVSplitterFrame::mOnWidget, this, &QtQVSimpleSplitter::mouseOverWidget);
    connect(m_line, &QtQVSplitterFrame::dragFinished, this, &QtQVSimpleSplitter::dragFinished);
    connect(m_line, &QtQVSplitterFrame::lockedPressed, this, &QtQVSimpleSplitter::lockedPressed);
    m_box = new QFrame(parent);
    QBoxLayout* const layout = orientation == QtQVSplitterFrame::Vertical
                                   ? static_cast<QBoxLayout*>(new QVBoxLayout(m_box))
                                   : new QHBoxLayout(m_box);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(2);
    QtQVSimpleSplitter::setPosition(QPoint(0, 0), QPoint(100, 100));
    updateShape();
}

QtQVSimpleSplitter::~QtQVSimpleSplitter() {
    for (QWidget* widget : std::initializer_list<QWidget*>{m_handle, m_box, m_line}) {
        if (widget)
            widget->disconnect(this); // A last word would reach a view that is half gone.
        delete widget;
    }
}

QWidget* QtQVSimpleSplitter::area() const {
    return m_line->parentWidget();
}

int QtQVSimpleSplitter::getOrientation() const {
    return m_line->getOrientation();
}

QPushButton* QtQVSimpleSplitter::createButton(const QPixmap* pixmap) {
    auto* button = new QPushButton(m_box);
    m_box->layout()->addWidget(button);
    if (pixmap) {
        button->setIcon(QIcon(*pixmap));
        button->setIconSize(buttonIconSize);
    }
    button->setFixedSize(buttonSize);
    button->setFocusPolicy(Qt::NoFocus);
    button->setVisible(true);
    m_line->setFrameStyle(
        int(getOrientation() != QtQVSplitterFrame::Horizontal ? QFrame::VLine : QFrame::HLine) |
        QFrame::Raised);
    m_boxHint = m_box->sizeHint();
    m_boxRect.setSize(m_boxHint);
    updateShape();
    return button;
}

void QtQVSimpleSplitter::setPosition(const QPoint& topLeft, const QPoint& bottomRight) {
    if (m_rect.topLeft() == topLeft && m_rect.bottomRight() == bottomRight)
        return;
    m_rect = QRect(topLeft, bottomRight);
    place();
}

void QtQVSimpleSplitter::place() {
    placeBox();
    keepBoxInside();
    m_buttonsDoNotFit = getOrientation() != QtQVSplitterFrame::Horizontal
                            ? m_boxHint.height() > m_rect.height()
                            : m_boxHint.width() > m_rect.width();
    updateShape();
}

void QtQVSimpleSplitter::sizeForFinger(bool on) {
    if (on == m_forFinger)
        return; // Every change of module says it again.
    m_forFinger = on;
    for (QPushButton* button : m_box->findChildren<QPushButton*>())
        button->setFixedSize(on ? fingerButtonSize : buttonSize);
    m_boxHint = m_box->sizeHint();
    m_boxRect.setSize(m_boxHint);
    place();
}

void QtQVSimpleSplitter::placeBox() {
    const QPoint from = m_rect.topLeft();
    const QPoint to = m_rect.bottomRight();
    const int width = std::abs(to.x() - from.x());
    const int height = std::abs(to.y() - from.y());
    m_boxRect.moveCenter(from + QPoint(width / 2, height / 2));
    const bool isHorizontal = getOrientation() == QtQVSplitterFrame::Horizontal;
    const int inset = (isHorizontal ? width : height) / insetDivisor;
    if (m_position == firstHalf) {
        if (isHorizontal)
            m_boxRect.moveLeft(from.x() + inset);
        else
            m_boxRect.moveTop(from.y() + inset);
    } else if (m_position == secondHalf) {
        if (isHorizontal)
            m_boxRect.moveRight(to.x() - inset);
        else
            m_boxRect.moveBottom(to.y() - inset);
    }
}

// Across the bar, at the near edge and then at the far one.
void QtQVSimpleSplitter::keepBoxInside() {
    QPoint middle = m_boxRect.center();
    if (getOrientation() != QtQVSplitterFrame::Horizontal) {
        if (m_boxRect.left() < 0)
            middle.rx() -= m_boxRect.left();
        if (m_boxRect.left() > area()->width())
            middle.setX(2 * middle.x() - m_boxRect.right());
    } else {
        if (m_boxRect.top() < 0)
            middle.ry() -= m_boxRect.top();
        if (m_boxRect.top() > area()->height())
            middle.setY(2 * middle.y() - m_boxRect.bottom());
    }
    m_boxRect.moveCenter(middle);
    // Half of an icon says little, and is half as easy to hit.
    m_boxRect.moveRight(std::min(m_boxRect.right(), area()->width() - 1));
    m_boxRect.moveBottom(std::min(m_boxRect.bottom(), area()->height() - 1));
    m_boxRect.moveTopLeft({std::max(0, m_boxRect.left()), std::max(0, m_boxRect.top())});
}

void QtQVSimpleSplitter::updateShape() {
    m_line->setGeometry(m_rect);
    if (m_handle && m_handle->isVisible())
        setTouchScreenButtonPosition(m_rect.center().x(), m_rect.center().y());
    updateButtonVisibility();
}

void QtQVSimpleSplitter::updateButtonVisibility() {
    const bool isVisible = hasButtons() && !m_line->isHidden() && !m_buttonsDoNotFit &&
                           !m_buttonsHidden && !m_line->isLocked();
    // While it is hidden nobody sees where it is.
    if (isVisible)
        m_box->setGeometry(m_boxRect);
    m_box->setVisible(isVisible);
}

void QtQVSimpleSplitter::showButtons(bool on) {
    m_buttonsHidden = !on;
    updateButtonVisibility();
}

// Every step of a drag shows the pieces again: setVisible(), since QWidget::show() asks the
// platform first how a window is to be shown.
void QtQVSimpleSplitter::show() {
    m_line->setVisible(true);
    updateButtonVisibility();
    if (m_handle && !m_line->isLocked())
        showHandle();
}

void QtQVSimpleSplitter::hide() {
    m_line->hide();
    m_box->hide();
    if (m_handle)
        m_handle->hide();
}

void QtQVSimpleSplitter::setLocked(bool locked) {
    m_line->setLocked(locked);
    if (locked)
        m_box->hide();
    if (m_handle)
        m_handle->hide();
}

// --- touch-screen mode

void QtQVSimpleSplitter::enableTouchScreenMode(bool on) {
    if (m_position != centre)
        return;
    if (!on) {
        delete m_handle.data();
        return;
    }
    if (!m_handle)
        createHandle();
    if (m_line->isHidden() || m_line->isLocked())
        m_handle->hide();
    else
        showHandle();
}

void QtQVSimpleSplitter::createHandle() {
    m_handle = new QtDraggerButton(area(), getOrientation());
    m_handle->setAccessibleName(tr("Drag to divide the views"));
    connect(m_handle, &QPushButton::pressed, this, &QtQVSimpleSplitter::onTouchScreenButtonPressed);
    connect(m_handle, &QPushButton::released, this,
            &QtQVSimpleSplitter::onTouchScreenButtonReleased);
    connect(m_handle, &QtDraggerButton::mouseMoved, this, &QtQVSimpleSplitter::mouseMove);
    constexpr QSize size(vlr::touchPictureSide, vlr::touchPictureSide);
    const int orientation = getOrientation();
    const QIcon picture = vlr::iconOf(
        size, [orientation](qreal ratio) { return vlr::touchHandlePixmap(orientation, ratio); });
    if (picture.isNull())
        m_handle->setText(tr("Touch"));
    m_handle->setIcon(picture);
    m_handle->setIconSize(size);
    m_handle->resize(m_handle->sizeHint());
}

void QtQVSimpleSplitter::showHandle() {
    m_handle->raise();
    m_handle->show();
    setTouchScreenButtonPosition(m_rect.center().x(), m_rect.center().y());
}

void QtQVSimpleSplitter::setTouchScreenButtonPosition(const int& x, const int& y) {
    if (m_handle->isHidden())
        return;
    // At the edge, where half of it would be cut off, a finger needs the whole of it.
    const auto inside = [](int from, int size, int whole) {
        return std::max(0, std::min(from, whole - size));
    };
    m_handle->move(inside(x - m_handle->width() / 2, m_handle->width(), area()->width()),
                   inside(y - m_handle->height() / 2, m_handle->height(), area()->height()));
}

void QtQVSimpleSplitter::onTouchScreenButtonPressed() {
    emit mouseOverWidget(true);
}

void QtQVSimpleSplitter::onTouchScreenButtonReleased() {
    emit mouseOverWidget(false);
    emit dragFinished();
}
