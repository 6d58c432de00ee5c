#pragma once

#include "Base/QuadViewConfig.h"
#include "vlrGuiExport.h"

#include <QtWidgets/QSplitter>

class QtAppModuleProxy;

/// The splitter between the control area (pane 0) and the viewer area (pane 1) of the main
/// window.
class VLR_GUI_EXPORT QtMainWinSplitter : public QSplitter {
    Q_OBJECT

public:
    /// The configuration may be null.
    QtMainWinSplitter(const DataPointer<QuadViewConfig>& config, QWidget* parent);
    ~QtMainWinSplitter() override;

signals:
    void openCloseClicked();
    void moduleActivated(const QtAppModuleProxy* proxy);

private:
    DataPointer<QuadViewConfig> m_config;
};
