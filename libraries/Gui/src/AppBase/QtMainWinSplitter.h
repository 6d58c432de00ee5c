#pragma once

#include "Base/QuadViewConfig.h"
#include "vlrGuiExport.h"

#include <QtCore/QPointer>
#include <QtCore/QTimer>
#include <QtWidgets/QSplitter>

class QPushButton;
class QtAppModuleProxy;

/// The splitter between the control area (pane 0) and the viewer area (pane 1) of the main
/// window. In touch-screen mode its handle is a column with an open/close button and the layout
/// presets of the active module. With the mouse, a control area that was dragged shut leaves a
/// button in the handle that opens it again.
class VLR_GUI_EXPORT QtMainWinSplitter : public QSplitter {
    Q_OBJECT

public:
    /// The configuration gives the presets' colours and the hold-down time; it may be null.
    QtMainWinSplitter(const DataPointer<QuadViewConfig>& config, QWidget* parent);
    ~QtMainWinSplitter() override;

signals:
    void openCloseClicked();
    void moduleActivated(const QtAppModuleProxy* proxy);

public slots:
    void setTouchScreenMode(bool on);

protected:
    QSplitterHandle* createHandle() override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void createWayBack();
    void showWayBack();

    DataPointer<QuadViewConfig> m_config;
    const int m_normalHandleWidth;
    bool m_touchScreenMode = false;
    QTimer m_showsWayBack{this};     ///< Once for all moves of the handle that wait together.
    QPointer<QPushButton> m_wayBack; ///< From when the first pane is shut for the first time.
};
