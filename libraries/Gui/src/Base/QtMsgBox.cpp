#include "Base/QtMsgBox.h"

#include "Base/ApplicationServices.h"
#include "Log/vlrLog.h"
#include "Stream/QtStream.h"

#include <QtCore/QPointer>
#include <QtCore/QRegularExpression>
#include <QtWidgets/QApplication>
#include <QtWidgets/QPushButton>

#include <array>
#include <cstdarg>
#include <cstdio>

namespace {

constexpr std::size_t bufferSize = 1024;
constexpr int shownLines = 15;
constexpr int shownCharacters = 1500;
constexpr int wordEnd = 30; // characters; a box does not break words

using Buffer = std::array<char, bufferSize>;

bool continuesCharacter(char byte) {
    return (static_cast<unsigned char>(byte) & 0xc0U) == 0x80U;
}

// The text in a buffer it did not fit into, without the character that was cut.
QString cutText(const Buffer& buffer) {
    std::size_t size = bufferSize - 1;
    std::size_t lead = size - 1;
    while (lead > 0 && size - lead < 4 && continuesCharacter(buffer[lead]))
        --lead;
    const auto first = static_cast<unsigned char>(buffer[lead]);
    const std::size_t length = first >= 0xf0U ? 4 : first >= 0xe0U ? 3 : first >= 0xc0U ? 2 : 1;
    if (lead + length > size)
        size = lead;
    return QString::fromUtf8(buffer.data(), static_cast<int>(size));
}

QString withoutLongWords(const QString& text) {
    static const QRegularExpression longWord(QStringLiteral("\\S{%1,}").arg(3 * wordEnd));
    QString result;
    int end = 0;
    for (auto words = longWord.globalMatch(text); words.hasNext();) {
        const QRegularExpressionMatch word = words.next();
        result += text.midRef(end, word.capturedStart() - end) + word.capturedRef().left(wordEnd) +
                  QChar(0x2026) + word.capturedRef().right(wordEnd);
        end = word.capturedEnd();
    }
    return result + text.midRef(end);
}

// The beginning of a text that is too long, else all of it.
QString beginning(const QString& text) {
    QString whole = text;
    while (whole.endsWith(QLatin1Char('\n')))
        whole.chop(1);
    const int lines = whole.count(QLatin1Char('\n')) + 1;
    if (lines <= shownLines && whole.size() <= shownCharacters)
        return text;
    QString shown = whole.section(QLatin1Char('\n'), 0, shownLines - 1);
    if (shown.size() > shownCharacters) {
        const int lineEnd = shown.lastIndexOf(QLatin1Char('\n'), shownCharacters);
        const bool surrogate = shown.at(shownCharacters - 1).isHighSurrogate();
        shown.truncate(lineEnd > 0 ? lineEnd : shownCharacters - (surrogate ? 1 : 0));
        if (lineEnd <= 0)
            shown += QChar(0x2026);
    }
    const int more = lines - shown.count(QLatin1Char('\n')) - 1;
    if (more == 1)
        shown += QLatin1Char('\n') + QtMsgBox::tr("... and 1 more line.");
    else if (more > 1)
        shown += QLatin1Char('\n') + QtMsgBox::tr("... and %1 more lines.").arg(more);
    return shown;
}

struct Appearance {
    QMessageBox::Icon icon;
    QMessageBox::StandardButtons buttons;
    QMessageBox::StandardButton enter, escape;
    bool beeps;
};

Appearance appearanceOf(QtMsgBox::MsgType kind) {
    switch (kind) {
    case QtMsgBox::MsgCritical:
        return {QMessageBox::Critical, QMessageBox::Ok, QMessageBox::Ok, QMessageBox::Ok, true};
    case QtMsgBox::MsgWarning:
        return {QMessageBox::Warning, QMessageBox::Ok, QMessageBox::Ok, QMessageBox::Ok, true};
    case QtMsgBox::MsgQuestion:
        return {QMessageBox::Warning, QMessageBox::No | QMessageBox::Yes, QMessageBox::Yes,
                QMessageBox::No, true};
    case QtMsgBox::MsgInformation:
        break;
    }
    return {QMessageBox::Information, QMessageBox::Ok, QMessageBox::Ok, QMessageBox::Ok, false};
}

} // namespace

QtMsgBox::QtMsgBox() = default;
QtMsgBox::~QtMsgBox() = default;

void QtMsgBox::setMessage(QMessageBox& box, const QString& text) {
    const QString shown = withoutLongWords(beginning(text));
    box.setTextFormat(Qt::PlainText);
    box.setText(shown);
    if (shown != text)
        box.setDetailedText(text);
}

void QtMsgBox::takeDefaultAway(QMessageBox& box) {
    for (QAbstractButton* button : box.buttons())
        if (auto* const push = qobject_cast<QPushButton*>(button)) {
            push->setAutoDefault(false);
            push->setDefault(false);
        }
}

int QtMsgBox::postAndWait(QWidget* parent, MsgType kind, const char* caption, const char* format,
                          ...) {
    Buffer buffer{};
    int length = -1;
    if (format) {
        va_list arguments;
        va_start(arguments, format);
        length = std::vsnprintf(buffer.data(), buffer.size(), format, arguments);
        va_end(arguments);
    }
    if (length < 0)
        buffer[0] = '\0';
    const QString text =
        length >= static_cast<int>(bufferSize) ? cutText(buffer) : QString::fromUtf8(buffer.data());
    if (!qobject_cast<QApplication*>(QCoreApplication::instance()))
        return NoButton;
    const ApplicationServices* const services = ApplicationServices::instance();
    if (services && services->isLeaving()) {
        VLR_LOG(Warning) << "Not shown any more: " << text;
        return NoButton;
    }

    const Appearance appearance = appearanceOf(kind);
    if (appearance.beeps)
        QApplication::beep();
    // Not on the stack: a parent that is destroyed takes the box along.
    const QPointer<QMessageBox> box = new QMessageBox(appearance.icon, QString::fromUtf8(caption),
                                                      QString(), appearance.buttons, parent);
    setMessage(*box, text);
    box->setDefaultButton(appearance.enter);
    box->setEscapeButton(appearance.escape);
    const int answer = box->exec();
    delete box.data();
    return answer;
}
