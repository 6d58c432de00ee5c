#pragma once

#include "Base/QuadViewConfig.h"
#include "Observer/CaSubject.h"
#include "vlrGuiExport.h"

#include <QtWidgets/QSplitterHandle>

class QFrame;
class QtAppModuleProxy;
class QtControlAreaControlButtons;
class QToolButton;

/// The handle of the main-window splitter: a grip and, in touch-screen mode, a column with the
/// layout presets above and the button that opens and closes the control area below.
class VLR_GUI_EXPORT QtMainWinSplitterHandle : public QSplitterHandle, public CaSubject {
    Q_OBJECT

public:
    QtMainWinSplitterHandle(const DataPointer<QuadViewConfig>& config, Qt::Orientation orientation,
                            QSplitter* parent);
    ~QtMainWinSplitterHandle() override;

    void setTouchScreenMode(bool on);

signals:
    void openCloseClicked();
    void moduleActivated(const QtAppModuleProxy* proxy);

public slots:
    /// Shows the way in which the button moves the control area next.
    void openCloseClickedSlot();
    void splitterMoved(int position, int index);

private:
    void createColumn();
    void showDirection(bool isOpen);

    int m_normalWidth;
    int m_touchWidth = 0;
    QFrame* m_frame;
    QToolButton* m_openClose;
    QtControlAreaControlButtons* m_controlButtons;
    DataPointer<QuadViewConfig> m_config;
};
