#pragma once

#include <QtWidgets/QRadioButton>
#include <QtWidgets/QToolButton>

/// Pixels beyond which a module's button does not grow; its text is shortened instead.
constexpr int widestModuleButton = 220;

/// Buttons that keep their whole text and show as much of it as fits; the rest is in the tool
/// tip. "&" is a character like any other.
class ElidedToolButton : public QToolButton {
    Q_OBJECT

public:
    ElidedToolButton(const QString& text, QWidget* parent);
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
};

class ElidedRadioButton : public QRadioButton {
    Q_OBJECT

public:
    ElidedRadioButton(const QString& text, QWidget* parent);
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
};
