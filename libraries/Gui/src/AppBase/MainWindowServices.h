#pragma once

#include "Base/ApplicationServices.h"
#include "vlrGuiExport.h"

class QtAppMainWindow;

namespace vlr {

/// Answers by the main window what is asked of the running application and is the window's matter.
/// Without a window nothing is shown and no request is answered.
class VLR_GUI_EXPORT MainWindowServices : public ApplicationServices {
public:
    virtual QtAppMainWindow* getMainWindow() const = 0; ///< Null when the window is gone.

    void showControls() override;
    void showMainWidget(QWidget* widget) override;
    void connectRequest(QObject* sender, const char* signal, Request request) override;
    bool isRequestAnswered(Request request) const override;
    void connectRequestsChanged(QObject* receiver, const char* slot) override;
    void setBusyCursor() override; ///< The window's, until resetCursor().
    void resetCursor() override;
};

} // namespace vlr
