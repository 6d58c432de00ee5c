#pragma once

#include "Common/WorkflowModule.h"

class QtElidedLabel;
class ReviewView;

/// The last step: the screenshots of the current patient are looked at again, and deleted.
class ReviewModule : public WorkflowModule {
    Q_OBJECT

public:
    ReviewModule();

    void activate() override;
    void deactivate() override;

private:
    void createContext();
    void refresh();
    void updateContext();
    void deleteSelected();

    ReviewView* m_view; ///< Owned by the base.
    bool m_isStale = true;
    bool m_isDeleting = false;
    QtElidedLabel* m_count = nullptr;
    QPushButton* m_open = nullptr;
    QPushButton* m_delete = nullptr;
};
