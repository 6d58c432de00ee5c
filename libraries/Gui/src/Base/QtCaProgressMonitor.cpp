#include "Base/QtCaProgressMonitor.h"

#include <QtCore/QAbstractEventDispatcher>
#include <QtCore/QElapsedTimer>
#include <QtCore/QTimer>
#include <QtGui/QCloseEvent>
#include <QtWidgets/QApplication>
#include <QtWidgets/QLabel>
#include <QtWidgets/QProgressBar>
#include <QtWidgets/QProgressDialog>
#include <QtWidgets/QStyleOptionFrame>
#include <QtWidgets/QStylePainter>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <limits>
#include <utility>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds eventInterval(10);
constexpr int longestSingleLine = 80; // characters; longer texts are wrapped
constexpr int focusPatience = 500;    // milliseconds
constexpr int focusInterval = 10;     // milliseconds

bool flushX = false;
bool syncX = false;

bool hasApplication() {
    return qobject_cast<QApplication*>(QCoreApplication::instance()) &&
           !QCoreApplication::closingDown();
}

// A bar with a value as cheap as an assignment: it is painted when events are processed, and its
// format names the value, since otherwise every change has the style measure the groove to find
// out whether a repaint is worth while.
class Bar : public QProgressBar {
public:
    Bar() { setFormat(QStringLiteral("%p%%v")); }

    QString text() const override {
        const QString percentAndValue = QProgressBar::text();
        return percentAndValue.left(percentAndValue.indexOf(QLatin1Char('%')) + 1);
    }

    void moveTo(int value) {
        setUpdatesEnabled(false);
        setValue(value);
        setUpdatesEnabled(true);
    }
};

QString counterText(int progress, int maximum) {
    if (maximum <= 0)
        return QString::number(progress);
    const int places = static_cast<int>(std::ceil(std::log10(maximum)) + 1);
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%*d of %*d", places, progress, places, maximum);
    return QString::fromLatin1(text.data());
}

// The post routine of the application: dialogs need one, and whoever reports progress later gets
// the silent monitor.
void removeMonitor() {
    if (dynamic_cast<QtCaProgressMonitor*>(CaProgressMonitor::getInstance()))
        CaProgressMonitor::setInstance(nullptr);
    // No event loop will come to what end() left to it.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

} // namespace

// QProgressDialog::setValue() processes events with the dialog on the stack, which a dialog that
// is deleted by one of them does not survive; so it is called only where it shows or hides.
class QtCaProgressMonitor::Dialog : public QProgressDialog {
public:
    Dialog(QtCaProgressMonitor* monitor, const QString& text, bool cancelable, int totalSteps,
           QWidget* parent)
        : QProgressDialog({}, cancelable ? QtCaProgressMonitor::tr("Cancel") : QString(), 0,
                          totalSteps, parent, cancelable ? Qt::Dialog : Qt::Popup),
          m_monitor(monitor), m_cancelable(cancelable), m_label(new QLabel), m_bar(new Bar) {
        setModal(true);
        m_label->setTextFormat(Qt::PlainText);
        m_label->setText(text);
        m_label->setAlignment(Qt::Alignment(
            style()->styleHint(QStyle::SH_ProgressDialog_TextLabelAlignment, nullptr, this)));
        setLabel(m_label);
        setBar(m_bar);
        setRange(0, totalSteps);
        m_sinceStart.start();
        if (!cancelable)
            qApp->installEventFilter(this);
    }

    void moveTo(int value) {
        if (m_atRest) {
            const bool goesOn = maximum() == 0 || (value >= 0 && value < maximum());
            if (goesOn && !wasCanceled()) {
                m_atRest = false;
                setValue(value); // It is hidden and no events are processed here.
            }
            return;
        }
        m_bar->moveTo(value);
        if (value == maximum() && value > 0) {
            reset();
            m_atRest = true;
        }
    }

    // Of a size for this text, although it will be set only later.
    void reserve(const QString& widest) {
        const QString text = labelText();
        setText(widest);
        m_reserved = QProgressDialog::sizeHint();
        setText(text);
        fit();
    }

    QSize sizeHint() const override { return QProgressDialog::sizeHint().expandedTo(m_reserved); }

    // The text alone; the size of the dialog follows with fit().
    void setText(const QString& text) {
        if (m_label->wordWrap() != (text.size() > longestSingleLine))
            m_label->setWordWrap(!m_label->wordWrap());
        m_label->setText(text);
    }

    void fit() { setLabelText(labelText()); }

    void comeBack() {
        if (m_wasShown && isHidden() && !m_atRest && !wasCanceled() &&
            !QApplication::activeModalWidget() && !QApplication::activePopupWidget())
            show();
    }

    /// What the event loop would do, for callers that do not process events.
    void bringUpToDate() {
        if (!m_atRest && m_sinceStart.elapsed() >= minimumDuration())
            forceShow();
        comeBack();
        // Else Qt waits for an event to tell it so before it paints anything.
        if (isVisible())
            setAttribute(Qt::WA_Mapped);
        repaint();
    }

    /// Deletes it, but not below a handler of one of its events, of which nobody tells us. One
    /// that never appeared has none.
    void retire(bool later) {
        later = later || m_wasShown;
        if (qApp)
            qApp->removeEventFilter(this);
        reset();
        if (later)
            deleteLater();
        else
            delete this;
    }

    // Here and not with the event, which others may handle before.
    void setVisible(bool visible) override {
        m_wasShown = m_wasShown || visible;
        if (visible && isFocusOnItsWay())
            QTimer::singleShot(focusInterval, this, [this] { comeBack(); });
        else
            QProgressDialog::setVisible(visible);
    }

    void reject() override {
        if (m_cancelable)
            emit canceled();
    }

protected:
    // A popup is asked to close by every press beside it.
    void closeEvent(QCloseEvent* event) override {
        if (m_cancelable)
            QProgressDialog::closeEvent(event);
        else
            event->ignore();
    }

    // A popup gets all input. A message box below it could not be answered.
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Show && isVisible() && watched != this &&
            watched->isWidgetType()) {
            const auto* widget = static_cast<QWidget*>(watched);
            if (widget->isWindow() && widget->isModal())
                hide();
        }
        return QProgressDialog::eventFilter(watched, event);
    }

    // A dialog that closed just before, as one in which files were chosen, gives the keyboard back
    // to its window. On X11 Qt does not take notice of that while a modal dialog is seen: when
    // this one goes a moment later, the window would have the keyboard and not know it. Where no
    // dialog closed, another program has the keyboard, and nothing is to be waited for.
    bool isFocusOnItsWay() const {
        const QWidget* const window = parentWidget() ? parentWidget()->window() : nullptr;
        return window && window->isVisible() && !window->isMinimized() &&
               !QGuiApplication::focusWindow() && m_monitor && m_monitor->m_sinceModal.isValid() &&
               !m_monitor->m_sinceModal.hasExpired(focusPatience);
    }

    // No window manager gives a popup a frame.
    void paintEvent(QPaintEvent* event) override {
        QProgressDialog::paintEvent(event);
        if (m_cancelable)
            return;
        QStylePainter painter(this);
        QStyleOptionFrame frame;
        frame.initFrom(this);
        frame.lineWidth = 1;
        painter.drawPrimitive(QStyle::PE_FrameMenu, frame);
    }

private:
    const QPointer<QtCaProgressMonitor> m_monitor;
    const bool m_cancelable;
    QLabel* const m_label;
    Bar* const m_bar;
    QElapsedTimer m_sinceStart;
    QSize m_reserved;
    bool m_atRest = true; ///< Not started yet, or hidden since the maximum was reached.
    bool m_wasShown = false;
};

// For as long as it lives, foreign code may run with the dialog on the stack.
class QtCaProgressMonitor::Nesting {
public:
    explicit Nesting(QtCaProgressMonitor* monitor) : m_monitor(monitor) { ++monitor->m_nesting; }
    ~Nesting() {
        if (m_monitor)
            --m_monitor->m_nesting;
    }
    Nesting(const Nesting&) = delete;
    Nesting& operator=(const Nesting&) = delete;

    bool hasMonitor() const { return m_monitor; }

private:
    const QPointer<QtCaProgressMonitor> m_monitor;
};

void QtCaProgressMonitor::attach(QWidget* parent) {
    CaProgressMonitor::setInstance(new QtCaProgressMonitor(parent));
    qAddPostRoutine(&removeMonitor);
}

QtCaProgressMonitor::QtCaProgressMonitor(QWidget* parent) : m_parent(parent) {
    if (hasApplication())
        qApp->installEventFilter(this);
}

bool QtCaProgressMonitor::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Hide && watched->isWidgetType()) {
        const auto* const widget = static_cast<const QWidget*>(watched);
        if (widget->isWindow() && widget->isModal() && !dynamic_cast<const Dialog*>(widget))
            m_sinceModal.start();
    }
    return QObject::eventFilter(watched, event);
}

QtCaProgressMonitor::~QtCaProgressMonitor() {
    while (m_dialog || m_waitCursor)
        QtCaProgressMonitor::end();
}

bool QtCaProgressMonitor::isFlushX() noexcept {
    return flushX;
}

void QtCaProgressMonitor::setFlushX(bool on) noexcept {
    flushX = on;
}

bool QtCaProgressMonitor::isSyncX() noexcept {
    return syncX;
}

void QtCaProgressMonitor::setSyncX(bool on) noexcept {
    syncX = on;
}

// --- an operation

void QtCaProgressMonitor::start() {
    if (!endAll() || !hasApplication())
        return;
    QApplication::setOverrideCursor(Qt::WaitCursor);
    m_waitCursor = true;
}

void QtCaProgressMonitor::start(const QString& text, int totalSteps, bool cancelable,
                                bool showCounter, int progressStep) {
    start(text.toStdString(), totalSteps, cancelable, showCounter, progressStep);
}

void QtCaProgressMonitor::start(const std::string& text, int totalSteps, bool cancelable,
                                bool showCounter, int progressStep) {
    if (!endAll())
        return;
    m_showCounter = showCounter;
    m_started = true;
    m_text = text;
    m_progressStep = progressStep;
    m_progress = 0;
    m_nextEvents = {};
    m_nextPainting = {};
    if (!hasApplication())
        return;
    m_dialog = new Dialog(this, QString::fromStdString(text), cancelable, std::max(totalSteps, 0),
                          m_parent);
    connect(m_dialog, &QProgressDialog::canceled, this, [this] {
        if (std::exchange(m_started, false))
            cancel();
    });
    m_dialog->moveTo(0);
    m_dialog->setMinimumDuration(m_minimumDuration);
    m_dialog->raise();
    setText(text);
    if (flushX)
        QAbstractEventDispatcher::instance()->flush();
}

void QtCaProgressMonitor::end() {
    if (std::exchange(m_waitCursor, false) && qApp)
        QApplication::restoreOverrideCursor();
    m_started = false;
    // Hiding it runs foreign code, after which this monitor may be gone.
    if (Dialog* const dialog = std::exchange(m_dialog, QPointer<Dialog>()))
        dialog->retire(m_nesting > 0);
}

// While an operation ends, its dialog's hiding may start another one or replace this monitor.
bool QtCaProgressMonitor::endAll() {
    const QPointer<QtCaProgressMonitor> self(this);
    do
        end();
    while (self && (m_dialog || m_waitCursor));
    return self;
}

void QtCaProgressMonitor::tick() {
    if (!isRunning())
        return;
    const Nesting nesting(this);
    const int maximum = m_dialog->maximum();
    const bool unbounded = maximum == 0;
    if (unbounded || m_progress < maximum) {
        const long long sum = static_cast<long long>(m_progress) + m_progressStep;
        m_progress =
            static_cast<int>(std::clamp<long long>(sum, 0, std::numeric_limits<int>::max()));
        update();
        m_dialog->moveTo(unbounded ? m_progress : std::min(m_progress, maximum));
    }
    if (nesting.hasMonitor())
        processEvents(nesting, !unbounded && m_progress >= maximum);
}

void QtCaProgressMonitor::processEvents(const Nesting& nesting, bool always) {
    if (!always && Clock::now() < m_nextEvents)
        return;
    if (m_dialog) {
        m_dialog->fit();
        m_dialog->comeBack();
    }
    QCoreApplication::processEvents();
    if (nesting.hasMonitor())
        m_nextEvents = m_nextPainting = Clock::now() + eventInterval;
}

// Whoever only sets the progress lets no event loop show the dialog and paint it.
void QtCaProgressMonitor::bringUpToDate(const Nesting& nesting) {
    if (!isRunning() || Clock::now() < m_nextPainting)
        return;
    m_dialog->bringUpToDate();
    if (nesting.hasMonitor())
        m_nextPainting = Clock::now() + eventInterval;
}

void QtCaProgressMonitor::cancel() {
    const Nesting nesting(this);
    notify(CANCELLED);
}

// --- its parts

bool QtCaProgressMonitor::isRunning() const {
    return m_dialog && !m_dialog->wasCanceled();
}

void QtCaProgressMonitor::reset() {
    if (!m_dialog)
        return;
    const Nesting nesting(this);
    m_progress = 0;
    m_dialog->moveTo(0);
    update();
}

void QtCaProgressMonitor::setProgress(int progress) {
    if (!isRunning())
        return;
    const Nesting nesting(this);
    m_progress = progress;
    m_dialog->moveTo(progress);
    if (nesting.hasMonitor())
        bringUpToDate(nesting);
}

void QtCaProgressMonitor::setTotalSteps(int totalSteps) {
    if (isRunning())
        m_dialog->setMaximum(std::max(totalSteps, 0));
}

void QtCaProgressMonitor::setText(const QString& text) {
    setText(text.toStdString());
}

void QtCaProgressMonitor::setText(const std::string& text) {
    m_text = text;
    updateText();
    if (isRunning())
        m_dialog->reserve(labelText(m_dialog->maximum()));
}

void QtCaProgressMonitor::setShowCounterFlag(bool counterVisible) {
    m_showCounter = counterVisible;
    update();
}

void QtCaProgressMonitor::setDialogCaption(const QString& caption) {
    if (m_dialog)
        m_dialog->setWindowTitle(caption);
}

void QtCaProgressMonitor::setMinimumDuration(int milliseconds) {
    m_minimumDuration = std::max(milliseconds, 0);
}

int QtCaProgressMonitor::getProgress() const {
    return m_dialog ? m_progress : 0;
}

int QtCaProgressMonitor::getTotalSteps() const {
    return m_dialog ? m_dialog->maximum() : 0;
}

std::string QtCaProgressMonitor::getText() {
    return m_text;
}

bool QtCaProgressMonitor::getShowCounterFlag() const {
    return m_showCounter;
}

int QtCaProgressMonitor::getMinimumDuration() {
    return m_minimumDuration;
}

void QtCaProgressMonitor::update() {
    if (m_showCounter)
        updateText();
}

void QtCaProgressMonitor::updateText() {
    if (isRunning())
        m_dialog->setText(labelText(m_progress));
}

QString QtCaProgressMonitor::labelText(int progress) const {
    const QString text = QString::fromStdString(m_text);
    return m_showCounter ? text + counterText(progress, m_dialog->maximum()) : text;
}
