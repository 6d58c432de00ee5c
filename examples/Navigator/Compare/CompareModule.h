#pragma once

#include "Volume/VolumeModule.h"

class QComboBox;

/// The third step: two planes of the volume side by side, at the same cross-hair.
class CompareModule : public VolumeModule {
    Q_OBJECT

public:
    explicit CompareModule(std::shared_ptr<VolumePanes> panes);

protected:
    PaneControl* arrange() override;

private:
    QComboBox* addChoice(const QString& label, const char* name, Plane plane);
    void keepApart(const QComboBox* chosen, QComboBox* other, int& previous);

    QComboBox* m_left;
    QComboBox* m_right;
    int m_previousLeft; ///< What the left one showed before the user chose.
    int m_previousRight;
};
