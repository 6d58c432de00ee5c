#pragma once

#include <QtWidgets/QWidget>

class QLabel;

/// A message with its icon, in the place that it concerns. It takes no space while it is empty.
class MessageLine : public QWidget {
    Q_OBJECT

public:
    explicit MessageLine(QWidget* parent = nullptr);

    QString text() const { return m_text; }
    void showMessage(const QString& iconName, const QString& text);
    void showError(const QString& text) { showMessage(QStringLiteral("Error"), text); }
    void clear();

private:
    QLabel* m_icon;
    QLabel* m_label;
    QString m_text;
};

/// The text with places to break file names and other long words at.
QString breakable(const QString& text);
