#include "Base/QtMessageBoxLogger.h"

#include "Base/ApplicationServices.h"
#include "Base/QtMsgBox.h"
#include "Log/vlrLog.h"

#include <QtCore/QEvent>
#include <QtCore/QScopedValueRollback>
#include <QtCore/QVector>
#include <QtWidgets/QApplication>

#include <algorithm>
#include <array>
#include <iostream>
#include <utility>

namespace {

struct Kind {
    QMessageBox::Icon icon;
    const char* title;
};

constexpr std::array<Kind, 3> kinds = {{
    {QMessageBox::Information, QT_TRANSLATE_NOOP("QtMessageBoxLogger", "Information")},
    {QMessageBox::Warning, QT_TRANSLATE_NOOP("QtMessageBoxLogger", "Warning")},
    {QMessageBox::Critical, QT_TRANSLATE_NOOP("QtMessageBoxLogger", "Error")},
}};

constexpr int mostCharacters = 1000000;

struct Message {
    int kind;
    QPointer<QWidget> parent;
    QString text;
};

// The messages of all loggers, and the one box that may be open.
class MessageQueue {
public:
    static MessageQueue& instance() {
        static MessageQueue queue;
        return queue;
    }

    void add(Message message) {
        const bool full =
            m_characters + message.text.size() > mostCharacters && !m_waiting.isEmpty();
        // A later one that fits would be read as if nothing were missing before it.
        if (full || m_dropped > 0) {
            m_waiting.last().kind = std::max(m_waiting.last().kind, message.kind);
            ++m_dropped;
        } else {
            m_characters += message.text.size();
            m_waiting.append(std::move(message));
        }
        if (m_open)
            return;
        const QScopedValueRollback<bool> open(m_open, true);
        while (!m_waiting.isEmpty())
            show(takeAll());
    }

private:
    Message takeAll() {
        const QVector<Message> waiting = std::exchange(m_waiting, {});
        m_characters = 0;
        Message all = waiting.first();
        for (auto message = waiting.begin() + 1; message != waiting.end(); ++message) {
            if (!all.text.endsWith(QLatin1Char('\n')))
                all.text += QLatin1Char('\n');
            all.text += message->text;
            if (message->kind > all.kind) {
                all.kind = message->kind;
                all.parent = message->parent;
            }
        }
        if (const int dropped = std::exchange(m_dropped, 0))
            all.text +=
                QLatin1Char('\n') +
                QtMessageBoxLogger::tr("%1 more messages are in the log file.").arg(dropped);
        return all;
    }

    static void show(const Message& message) {
        const ApplicationServices* const services = ApplicationServices::instance();
        if (services && services->isLeaving()) {
            std::cerr << message.text.toStdString() << std::endl;
            return;
        }
        const Kind& kind = kinds[static_cast<std::size_t>(message.kind)];
        // Not on the stack: a parent that is destroyed takes the box along.
        const QPointer<QMessageBox> box =
            new QMessageBox(kind.icon, QtMessageBoxLogger::tr(kind.title), QString(),
                            QMessageBox::Ok, message.parent);
        QtMsgBox::setMessage(*box, message.text);
        box->setEscapeButton(QMessageBox::Ok);
        box->exec();
        delete box.data();
    }

    QVector<Message> m_waiting;
    int m_characters = 0;
    int m_dropped = 0;
    bool m_open = false;
};

} // namespace

QtMessageBoxLogger::QtMessageBoxLogger(int kind, QWidget* parent)
    : std::ostream(nullptr), m_kind(kind), m_parent(parent),
      m_buffer(std::make_unique<__QtLoggersStreambuf>()) {
    rdbuf(m_buffer.get());
    connect(m_buffer.get(), &__QtLoggersStreambuf::syncSI, this, &QtMessageBoxLogger::syncSL);
}

QtMessageBoxLogger::~QtMessageBoxLogger() {
    for (const auto level : {vlr::LogLevel::Debug, vlr::LogLevel::Info, vlr::LogLevel::Warning,
                             vlr::LogLevel::Error, vlr::LogLevel::CaError, vlr::LogLevel::UserInfo,
                             vlr::LogLevel::UserWarning, vlr::LogLevel::UserError})
        if (vlr::Log::oStream(level) == this)
            vlr::Log::setOStream(level, nullptr);
}

void QtMessageBoxLogger::syncSL() {
    m_text += m_buffer->take();
    const QString text = std::exchange(m_text, QString());
    if (text.isEmpty() || m_kind < 0 || m_kind >= static_cast<int>(kinds.size()))
        return;
    if (!qobject_cast<QApplication*>(QCoreApplication::instance()) ||
        QCoreApplication::closingDown())
        return;
    const QPointer<QtMessageBoxLogger> self(this);
    ++m_flushes;
    MessageQueue::instance().add({m_kind, m_parent, text});
    if (self && --m_flushes == 0 && m_deleteAfterFlush)
        deleteLater();
}

// A flush that waits for its box returns into this stream. The loop of a later box, which is
// still inside that flush, must not carry out what was left to "later" in an earlier one.
bool QtMessageBoxLogger::event(QEvent* event) {
    if (event->type() != QEvent::DeferredDelete || m_flushes == 0)
        return QObject::event(event);
    m_deleteAfterFlush = true;
    return true;
}
