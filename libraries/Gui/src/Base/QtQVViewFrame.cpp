#include "Base/QtQVViewFrame.h"

#include "Base/QuadViewSettings.h"
#include "Log/vlrLog.h"

#include <QtCore/QThread>
#include <QtGui/QMouseEvent>
#include <QtWidgets/QHBoxLayout>

#include <algorithm>

namespace {

constexpr const char* logSource = "QtQVViewFrame";

int component(double value) {
    return static_cast<int>(std::max(0.0, std::min(255.0, value)));
}

QColor toColor(const Vector3d& value) {
    return {component(value.x()), component(value.y()), component(value.z())};
}

} // namespace

QtQVViewFrame::QtQVViewFrame(QWidget* parent) : QFrame(parent) {
    readColors();
    m_layout = new QHBoxLayout(this);
    m_layout->setContentsMargins(0, 0, 0, 0);
    m_layout->setSpacing(0);
}

QtQVViewFrame::~QtQVViewFrame() = default;

// The default button colour marks that no colours were configured.
void QtQVViewFrame::readColors() {
    const Vector3d button = vlr::quadView::buttonColor.get();
    if (button == vlr::quadView::buttonColor.defaultValue())
        return;
    const QColor background = toColor(vlr::quadView::backgroundColor.get());
    const QColor selected = toColor(vlr::quadView::selectedColor.get());
    m_hasColors = true;
    m_normalPalette = QPalette(toColor(button), background);
    m_selectedPalette = QPalette(selected.darker(200), selected.lighter(150));
}

QWidget* QtQVViewFrame::contentWidget() const {
    return qobject_cast<QWidget*>(m_child.data());
}

void QtQVViewFrame::setFocus(bool on) {
    m_hasFocus = on;
    if (!m_hasColors)
        return;
    colorContent(contentWidget(), on);
    setPalette(on ? m_selectedPalette : QPalette());
}

// A palette that the application gave to its content is none of ours.
void QtQVViewFrame::colorContent(QWidget* content, bool on) {
    if (!content)
        return;
    const QPalette present = content->palette();
    const bool isOurs = m_normalPalette.resolve(present) == present;
    if (!content->testAttribute(Qt::WA_SetPalette) || isOurs)
        content->setPalette(on ? m_normalPalette : QPalette());
}

void QtQVViewFrame::childEvent(QChildEvent* event) {
    if (event->added()) {
        m_child = event->child();
        m_child->installEventFilter(this);
        if (QWidget* const content = contentWidget(); content && m_hasFocus && m_hasColors) {
            colorContent(content, true);
            content->update();
        }
    } else if (event->removed()) {
        if (m_child)
            m_child->removeEventFilter(this);
        event->child()->removeEventFilter(this);
        if (m_hasColors) // Elsewhere ours would pass for its own.
            colorContent(qobject_cast<QWidget*>(event->child()), false);
        m_child = nullptr;
    }
    QFrame::childEvent(event);
}

bool QtQVViewFrame::eventFilter(QObject* watched, QEvent* event) {
    if (watched->parent() == this && event->type() == QEvent::MouseButtonPress) {
        const QPointer<QtQVViewFrame> guard(this);
        m_handsPressOn = true;
        emit getFocus(this);
        if (!guard)
            return true; // The content went with this frame; nobody is left to be pressed.
        m_handsPressOn = false;
    }
    return QFrame::eventFilter(watched, event);
}

void QtQVViewFrame::widgetActivatedSL() {
    emit getFocus(this);
}

void QtQVViewFrame::removeWidget() {
    vlr::Log::getInstance("CaERROR", logSource, __LINE__) << "Child REMOVED\n";
    if (m_child)
        m_child->removeEventFilter(this);
    if (QWidget* const content = contentWidget()) {
        vlr::Log::getInstance("CaERROR", logSource, __LINE__) << "Child REMOVED: deleting...\n";
        content->disconnect(this);
        discard(content);
    }
    m_child = nullptr;
}

void QtQVViewFrame::discard(QWidget* content) {
    const QPointer<QWidget> guard(content);
    content->close();
    if (!guard)
        return; // It deletes itself on closing.
    m_layout->removeWidget(content);
    // Somebody further up may still be handling an event of the content.
    if (m_handsPressOn || QThread::currentThread()->loopLevel() > 0) {
        content->hide();
        content->setParent(nullptr);
        content->deleteLater();
    } else {
        delete content;
    }
}
