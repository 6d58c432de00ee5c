#pragma once

#include "Base/QuadViewConfig.h"
#include "Observer/CaSubject.h"
#include "vlrGuiExport.h"

#include <QtCore/QPointer>
#include <QtWidgets/QSplitterHandle>

class QFrame;
class QtAppModuleProxy;
class QtControlAreaControlButtons;
class QtQuadView;
class QScrollArea;
class QToolButton;

/// The handle of the main-window splitter: a grip and, in touch-screen mode, a column with the
/// layout presets above and the button that opens and closes the control area below. The presets
/// are there only while the main window shows the views that they arrange. Where there are more
/// than fit in a finger's size, they scroll.
class VLR_GUI_EXPORT QtMainWinSplitterHandle : public QSplitterHandle, public CaSubject {
    Q_OBJECT

public:
    QtMainWinSplitterHandle(const DataPointer<QuadViewConfig>& config, Qt::Orientation orientation,
                            QSplitter* parent);
    ~QtMainWinSplitterHandle() override;

    void setTouchScreenMode(bool on);

    bool eventFilter(QObject* watched, QEvent* event) override;

signals:
    void openCloseClicked();
    void moduleActivated(const QtAppModuleProxy* proxy);

public slots:
    /// Shows the way in which the button moves the control area next.
    void openCloseClickedSlot();
    void splitterMoved(int position, int index);

protected:
    void showEvent(QShowEvent* event) override;
    void moveEvent(QMoveEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void createColumn();
    void showDirection(bool isOpen);
    void followViews();

    int m_normalWidth;
    int m_touchWidth = 0;
    QFrame* m_frame;
    QToolButton* m_openClose;
    QString m_arrow; ///< The icon's name.
    QScrollArea* m_presetArea;
    QtControlAreaControlButtons* m_controlButtons;
    DataPointer<QuadViewConfig> m_config;
    QPointer<QWidget> m_viewer; ///< Whose coming and going is watched.
};
