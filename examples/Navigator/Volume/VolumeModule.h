#pragma once

#include "Base/QuadViewGeometry.h"
#include "Common/WorkflowModule.h"
#include "Volume/VolumePanes.h"

#include <QtCore/QSize>

#include <optional>

/// The base of the modules that show the volume. What a module derived from it has to say is which
/// control stands where; without a volume all of them show the images, or the note, instead.
class VolumeModule : public WorkflowModule {
    Q_OBJECT

public:
    VolumeModule(const QString& name, std::shared_ptr<VolumePanes> panes);

    void activate() override;
    void deactivate() override;

protected:
    VolumePanes& panes() const { return *m_panes; }
    /// Puts the controls of the volume into their places, taking panes from those that are there.
    /// Returns the one that is to be the current one.
    virtual PaneControl* arrange() = 0;
    PaneControl* arrangeAll(); ///< The three planes and the overview, one per pane.
    /// While the module is active; the keyboard stays where it is. Controls that are to change
    /// places among themselves give theirs up first.
    enum class Places { GivenUp, Kept };
    void arrangeAgain(Places places = Places::GivenUp);
    void addLockBox(); ///< A check box that locks the layout while the module is active.
    void takeFocus();  ///< While the module is active: the current pane gets the keyboard.

private:
    void clear();
    void rememberExtents();
    PaneControl* firstSeen(PaneControl* arranged) const;

    std::shared_ptr<VolumePanes> m_panes;
    QPointer<PaneControl> m_current;
    bool m_isShown = false; ///< Something of it stands in the viewer area.
    bool m_isVolumeShown = false;
    std::optional<QuadViewGeometry::Extents> m_extents; ///< As the user left them.
};
