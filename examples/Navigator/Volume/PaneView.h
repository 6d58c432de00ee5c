#pragma once

#include <QtCore/QStringList>
#include <QtGui/QColor>
#include <QtWidgets/QWidget>

/// The base of what shows a volume in one pane: black ground, a title bar that shows which pane
/// is the current one, whom the picture belongs to, and a frame while the keyboard is here.
class PaneView : public QWidget {
    Q_OBJECT

public:
    PaneView(const QString& title, const QColor& color, QWidget* parent = nullptr);

    QString title() const { return m_title; }
    bool isCurrent() const { return m_isCurrent; }
    void setCurrent(bool current);
    /// Whom the picture belongs to.
    void setPatientText(const QStringList& text);
    /// Why no tips of instruments are seen; nothing where all is well or nothing is tracked.
    void setTrackingText(const QStringList& text);
    QStringList trackingText() const { return m_trackingText; }
    const QStringList& patientText() const { return m_patientText; }

    QSize sizeHint() const override { return {320, 240}; }
    QSize minimumSizeHint() const override { return {60, 45}; }

signals:
    /// The keyboard came here, by whatever way.
    void focused();

protected:
    /// What is left for the picture below the title bar.
    QRect pictureArea() const;
    void setPositionText(const QString& text); ///< Beside the title.
    virtual void paintPicture(QPainter& painter) = 0;

    void paintEvent(QPaintEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    int titleHeight() const;
    void paintTitle(QPainter& painter) const;

    QString m_title;
    QColor m_color;
    QString m_positionText;
    QStringList m_patientText;
    QStringList m_trackingText;
    bool m_isCurrent = false;
};
