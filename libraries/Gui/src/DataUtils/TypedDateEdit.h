#pragma once

#include "DataUtils/DateText.h"

#include <QtGui/QFocusEvent>
#include <QtGui/QKeyEvent>
#include <QtWidgets/QDateTimeEdit>
#include <QtWidgets/QLineEdit>

#include <array>

/// A QDateEdit or QDateTimeEdit into which a date is typed as a whole, in any form that
/// vlr::readDate() understands. Editing by sections, as the base class does it, makes dates of
/// digits that were typed for another section.
///
///     auto* field = new TypedDateEdit<QDateEdit>(parent);
///     field->setDisplayFormat(QStringLiteral("dd MMM yyyy"));    // or with " hh:mm:ss"
///     field->keep(patient->birthDate());
///     ...
///     const vlr::ReadDate entry = field->entry();
///
/// What is understood is the field's date at once, and is shown in the field's format when it is
/// left or Return is pressed. What is not stays in the field, for entry() to say why; the date of
/// the base class then means nothing. The form says it beside the field on editingFinished(), and
/// in its ok(), which has to refuse. Arrow keys and wheel change the part at the cursor,
/// within the range.
template <class Base>
class TypedDateEdit : public Base {
public:
    explicit TypedDateEdit(QWidget* parent) : Base(parent) {
        // The date is the one on the wall: none is shifted where clocks are changed.
        this->setTimeSpec(Qt::UTC);
        // This belongs to the editing by sections.
        QObject::disconnect(this->lineEdit(), &QLineEdit::cursorPositionChanged, this, nullptr);
    }

    QLineEdit* editor() const { return this->lineEdit(); }
    bool isBlank() const { return this->text().trimmed().isEmpty(); }
    void showNothing() { this->lineEdit()->clear(); }

    /// What is in the field. A date outside its range is a problem, unless it is the kept one.
    vlr::ReadDate entry() const {
        const QString text = this->text();
        if (m_kept.isValid() && text == shown(m_kept))
            return {m_kept, {}};
        return hasTime() ? vlr::readDateTime(text, this->locale(), this->minimumDate())
                         : vlr::readDate(text, this->locale(), this->minimumDate());
    }

    /// Shows a date that was stored, also one outside the range.
    void keep(const QDateTime& value) {
        m_kept = value;
        this->setDateTime(value);
        if (!isInRange(value))
            this->lineEdit()->setText(shown(value));
    }

    void stepBy(int steps) override {
        if (stepEnabled() == QAbstractSpinBox::StepNone)
            return;
        const QDateTime value = entry().value;
        const int selected = this->lineEdit()->selectionStart();
        const int part = partAt(selected >= 0 ? selected : this->lineEdit()->cursorPosition());
        const QDateTime next = stepped(value, part, steps);
        if (!isInRange(next))
            return; // The base class would show the end of the range, far from what was there.
        this->setDateTime(next);
        this->lineEdit()->setSelection(beginOf(part), length(part));
    }

protected:
    QAbstractSpinBox::StepEnabled stepEnabled() const override {
        if (this->isReadOnly() || !entry().problem.isEmpty())
            return QAbstractSpinBox::StepNone;
        return QAbstractSpinBox::StepUpEnabled | QAbstractSpinBox::StepDownEnabled;
    }

    // Nothing is refused while it is being typed, so nothing is put in its place.
    QValidator::State validate(QString&, int&) const override { return QValidator::Acceptable; }
    void fixup(QString&) const override {}
    QDateTime dateTimeFromText(const QString&) const override {
        const vlr::ReadDate read = entry();
        return read.problem.isEmpty() && isInRange(read.value) ? read.value : this->dateTime();
    }

    // The base classes of QDateTimeEdit know no sections.
    // NOLINTBEGIN(bugprone-parent-virtual-call): that is why they are asked
    void keyPressEvent(QKeyEvent* event) override {
        if (event->key() != Qt::Key_Return && event->key() != Qt::Key_Enter) {
            QAbstractSpinBox::keyPressEvent(event);
            return;
        }
        showAsUnderstood();
        event->ignore(); // goes on to the default button
        emit this->editingFinished();
    }
    void focusInEvent(QFocusEvent* event) override {
        QAbstractSpinBox::focusInEvent(event);
        if (event->reason() == Qt::OtherFocusReason || event->reason() == Qt::ShortcutFocusReason)
            this->selectAll();
        if (event->reason() == Qt::PopupFocusReason) // A date may have come from the calendar.
            emit this->editingFinished();
    }
    // Here and when it is shown, the base class would put its own date in place of what was typed.
    void focusOutEvent(QFocusEvent* event) override {
        if (event->reason() != Qt::PopupFocusReason)
            showAsUnderstood();
        this->lineEdit()->event(event);
        QWidget::focusOutEvent(event);
        emit this->editingFinished();
    }
    void showEvent(QShowEvent* event) override { QWidget::showEvent(event); }
    bool focusNextPrevChild(bool next) override {
        return QAbstractSpinBox::focusNextPrevChild(next);
    }
    // NOLINTEND(bugprone-parent-virtual-call)

private:
    static constexpr std::array<const char*, 6> parts{"dd", "MMM", "yyyy", "hh", "mm", "ss"};

    bool hasTime() const { return this->displayedSections() & QDateTimeEdit::HourSection; }
    QString shown(const QDateTime& value) const {
        return this->locale().toString(value, this->displayFormat());
    }
    bool isInRange(const QDateTime& value) const {
        return value.date() >= this->minimumDate() && value.date() <= this->maximumDate();
    }
    void showAsUnderstood() {
        const vlr::ReadDate read = entry();
        if (read.problem.isEmpty() && isInRange(read.value))
            this->setDateTime(read.value);
    }

    // --- the parts of what is shown, which one character each parts

    int length(int part) const {
        return this->locale()
            .toString(this->dateTime(), QLatin1String(parts[static_cast<std::size_t>(part)]))
            .size();
    }
    int beginOf(int part) const {
        int begin = 0;
        for (int i = 0; i < part; ++i)
            begin += length(i) + 1;
        return begin;
    }
    int partAt(int position) const {
        int part = hasTime() ? 5 : 2;
        while (part > 0 && position < beginOf(part))
            --part;
        return part;
    }
    static QDateTime stepped(const QDateTime& value, int part, int steps) {
        constexpr std::array<int, 6> seconds{0, 0, 0, 3600, 60, 1};
        switch (part) {
        case 0:
            return value.addDays(steps);
        case 1:
            return value.addMonths(steps);
        case 2:
            return value.addYears(steps);
        default:
            return value.addSecs(qint64(steps) * seconds[static_cast<std::size_t>(part)]);
        }
    }

    QDateTime m_kept;
};
