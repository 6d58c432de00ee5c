#pragma once

#include "Observer/CaSubject.h"
#include "Volume/CrossHair.h"
#include "Volume/ImagesOwner.h"
#include "Volume/PaneControl.h"
#include "Volume/Volume.h"

#include <memory>
#include <vector>

class ImagesView;

/// The images that are open and all views of them, as controls that modules put into panes. A
/// series that is no volume is shown image by image in the one view imagesControl().
///
/// Every view says whom the images belong to. Those of a patient are closed as soon as he is not
/// the current patient any more, whoever changed that; whether he may be left is asked before.
///
///     auto panes = std::make_shared<VolumePanes>();
///     application.addModule(new ImagesModule(panes, paths));
///     application.addModule(new CompareModule(panes));
class VolumePanes : public QObject {
    Q_OBJECT

public:
    VolumePanes();
    ~VolumePanes() override;

    const vlr::ImageSeries& series() const { return m_series; }
    const Volume& volume() const { return m_volume; }
    bool hasVolume() const { return !m_volume.isEmpty(); }
    CrossHair* crossHair() { return &m_crossHair; }
    const ImagesOwner& owner() const { return m_owner; } ///< Nobody while there are no images.
    /// What is closed when the current patient is not that any more; empty for nothing.
    QString closingText() const;

    /// The axial slice from which the user starts; below 0 the middle one.
    /// Ignored for an owner who is not the current patient (any more).
    void showVolume(const vlr::ImageSeries& series, const Volume& volume, int slice,
                    const ImagesOwner& owner);
    /// `reason` says why these images are not shown as a volume.
    void showSeries(const vlr::ImageSeries& series, int slice, const QString& reason,
                    const ImagesOwner& owner);
    void showNote(const QString& text); ///< While there are no images.
    void setSlice(int slice);           ///< Of the volume or of the series.

    PaneControl* planeControl(Plane plane) const;
    PaneControl* overviewControl() const { return m_overview.get(); }
    PaneControl* imagesControl() const { return m_images.get(); }
    ImagesView* imagesView() const { return m_imagesView; }
    std::vector<PaneControl*> volumeControls() const; ///< The three planes and the overview.

signals:
    /// Other images, or no volume any more: what stands in the panes is to be arranged anew.
    void imagesChanged();
    void closed(); ///< The images of somebody who is not the current patient any more.

private:
    void makeControls();
    void setVolume(const Volume& volume);
    void markCurrent(const QString& label);
    bool takeOwner(const ImagesOwner& owner);
    void followPatient();
    void showOwner();

    vlr::ImageSeries m_series;
    ImagesOwner m_owner;
    Volume m_volume;
    CrossHair m_crossHair;
    ImagesView* m_imagesView;
    std::array<std::unique_ptr<PaneControl>, allPlanes.size()> m_planes;
    std::unique_ptr<PaneControl> m_overview;
    std::unique_ptr<PaneControl> m_images;
    CaConnection m_patientChanges;
    CaConnection m_valueChanges;
};
