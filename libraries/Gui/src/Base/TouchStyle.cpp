#include "Base/TouchStyle.h"

#include "Base/TouchTargets.h"

#include <QtGui/QPainter>
#include <QtWidgets/QAbstractSpinBox>
#include <QtWidgets/QApplication>
#include <QtWidgets/QStyleOption>

#include <algorithm>
#include <utility>

namespace vlr {

namespace {

using SpinOption = QStyleOptionSpinBox;

constexpr int signSize = 11;

// By its name, since a style cannot be lent. One that has no name cannot be made again, and the
// platform's takes its place. Below the style sheet of an application is the style it goes on.
QString applicationStyle() {
    const QStyle* const style = QApplication::style();
    const auto* const below = style->findChild<QStyle*>(QString(), Qt::FindDirectChildrenOnly);
    return style->objectName().isEmpty() && below ? below->objectName() : style->objectName();
}

const SpinOption* withButtons(const QStyleOption* option) {
    const auto* const spin = qstyleoption_cast<const SpinOption*>(option);
    return spin && spin->buttonSymbols != QAbstractSpinBox::NoButtons ? spin : nullptr;
}

SpinOption withoutButtons(const SpinOption& spin) {
    SpinOption result = spin;
    result.buttonSymbols = QAbstractSpinBox::NoButtons;
    result.subControls &= ~(QStyle::SC_SpinBoxUp | QStyle::SC_SpinBoxDown);
    return result;
}

// Where there is no room, the text gets half of it.
int buttonWidth(const QRect& field, int count) {
    return std::min(fingerSize, field.width() / (2 * count));
}

// The last one is the outermost.
QRect buttonRect(const QStyleOption& option, int fromEdge, int count) {
    const QRect& field = option.rect;
    const int width = buttonWidth(field, count);
    const QRect rect(field.right() + 1 - (fromEdge + 1) * width, field.top(), width,
                     field.height());
    return QStyle::visualRect(option.direction, field, rect);
}

QRect besideButtons(const QStyleOption& option, const QRect& edit, int count) {
    QRect logical = QStyle::visualRect(option.direction, option.rect, edit);
    logical.setRight(
        std::min(logical.right(), option.rect.right() - count * buttonWidth(option.rect, count)));
    return QStyle::visualRect(option.direction, option.rect, logical);
}

void drawSign(QPainter& painter, const QRect& button, const QColor& color, bool isPlus) {
    QRect bar(0, 0, signSize, 2);
    bar.moveCenter(button.center());
    painter.fillRect(bar, color);
    if (!isPlus)
        return;
    bar = QRect(0, 0, 2, signSize);
    bar.moveCenter(button.center());
    painter.fillRect(bar, color);
}

} // namespace

TouchStyle::TouchStyle() : QProxyStyle(applicationStyle()) {}

QSize TouchStyle::sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& size,
                                   const QWidget* widget) const {
    const QSize least(fingerSize, fingerSize);
    if (type == CT_SpinBox)
        if (const SpinOption* const spin = withButtons(option)) {
            const SpinOption field = withoutButtons(*spin);
            const QSize own = QProxyStyle::sizeFromContents(type, &field, size, widget);
            return QSize(own.width() + 2 * fingerSize, own.height()).expandedTo(least);
        }
    const QSize own = QProxyStyle::sizeFromContents(type, option, size, widget);
    if (const auto* const combo = qstyleoption_cast<const QStyleOptionComboBox*>(option);
        combo && type == CT_ComboBox) {
        const QRect arrow =
            QProxyStyle::subControlRect(CC_ComboBox, combo, SC_ComboBoxArrow, widget);
        const int more = std::max(0, fingerSize - arrow.width());
        return QSize(own.width() + more, own.height()).expandedTo(least);
    }
    return type == CT_TabBarTab ? own.expandedTo(least) : own;
}

QRect TouchStyle::subControlRect(ComplexControl control, const QStyleOptionComplex* option,
                                 SubControl part, const QWidget* widget) const {
    const QRect own = QProxyStyle::subControlRect(control, option, part, widget);
    if (control == CC_ComboBox && part == SC_ComboBoxArrow)
        return buttonRect(*option, 0, 1);
    if (control == CC_ComboBox && part == SC_ComboBoxEditField)
        return besideButtons(*option, own, 1);
    const SpinOption* const spin = control == CC_SpinBox ? withButtons(option) : nullptr;
    if (spin && part == SC_SpinBoxUp)
        return buttonRect(*spin, 0, 2);
    if (spin && part == SC_SpinBoxDown)
        return buttonRect(*spin, 1, 2);
    if (spin && part == SC_SpinBoxEditField) {
        const SpinOption field = withoutButtons(*spin);
        return besideButtons(*spin, QProxyStyle::subControlRect(control, &field, part, widget), 2);
    }
    return own;
}

void TouchStyle::drawComplexControl(ComplexControl control, const QStyleOptionComplex* option,
                                    QPainter* painter, const QWidget* widget) const {
    const SpinOption* const spin = control == CC_SpinBox ? withButtons(option) : nullptr;
    if (!spin) {
        QProxyStyle::drawComplexControl(control, option, painter, widget);
        return;
    }
    const SpinOption field = withoutButtons(*spin);
    QProxyStyle::drawComplexControl(control, &field, painter, widget);
    const std::pair<SubControl, QAbstractSpinBox::StepEnabledFlag> buttons[] = {
        {SC_SpinBoxDown, QAbstractSpinBox::StepDownEnabled},
        {SC_SpinBoxUp, QAbstractSpinBox::StepUpEnabled}};
    for (const auto& [part, step] : buttons) {
        QStyleOptionButton button;
        static_cast<QStyleOption&>(button) = *spin;
        button.type = QStyleOptionButton::Type;
        button.version = QStyleOptionButton::Version;
        button.rect = proxy()->subControlRect(control, spin, part, widget);
        const bool isEnabled = (spin->state & State_Enabled) && (spin->stepEnabled & step);
        const bool isPressed = (spin->state & State_Sunken) && spin->activeSubControls == part;
        button.state.setFlag(State_Enabled, isEnabled);
        button.state.setFlag(State_Sunken, isPressed);
        button.state.setFlag(State_Raised, !isPressed);
        button.state.setFlag(State_HasFocus, false);
        proxy()->drawPrimitive(PE_PanelButtonCommand, &button, painter, widget);
        const auto group = isEnabled ? QPalette::Active : QPalette::Disabled;
        drawSign(*painter, button.rect, spin->palette.color(group, QPalette::ButtonText),
                 part == SC_SpinBoxUp);
    }
}

} // namespace vlr
