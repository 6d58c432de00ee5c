#pragma once

#include "Volume/VolumeModule.h"

class QButtonGroup;

/// The fourth step: one plane of the volume over the whole viewer area.
class EnlargeModule : public VolumeModule {
    Q_OBJECT

public:
    explicit EnlargeModule(std::shared_ptr<VolumePanes> panes);

protected:
    PaneControl* arrange() override;

private:
    QButtonGroup* m_choice;
};
