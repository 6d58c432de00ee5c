#include "Images/VolumePanes.h"

#include "AppBase/AppBase.h"
#include "AppBase/vlrControlList.h"
#include "Base/QtQVViewFrame.h"
#include "Images/ImagesView.h"
#include "Images/OverviewView.h"
#include "Images/PlaneView.h"

namespace {

constexpr const char* planeNames[] = {"Axial", "Coronal", "Sagittal"};
constexpr const char* viewNames[] = {"axialView", "coronalView", "sagittalView"};

// A pane is told of clicks by itself, of the keyboard it is not.
void makeCurrent(const QWidget* view) {
    if (auto* const frame = qobject_cast<QtQVViewFrame*>(view->parentWidget()))
        frame->widgetActivatedSL();
}

} // namespace

VolumePanes::VolumePanes() : m_imagesView(new ImagesView) {
    makeControls();
    connect(vlr::ControlList::instance(), &vlr::ControlList::currentControlChanged, this,
            &VolumePanes::markCurrent);
    if (AppBase* application = AppBase::instance())
        m_patientChanges = CaConnection(*application, AppBase::CURRENT_PATIENT_CHANGED,
                                        [this](auto&&...) { showPatient(); });
    showPatient();
}

VolumePanes::~VolumePanes() = default;

void VolumePanes::makeControls() {
    for (const Plane plane : allPlanes) {
        const auto index = static_cast<std::size_t>(plane);
        auto* const view = new PlaneView(plane, &m_crossHair);
        view->setObjectName(QString::fromLatin1(viewNames[index]));
        m_planes[index] = std::make_unique<PaneControl>(planeNames[index], view->title(), view);
    }
    auto* const overview = new OverviewView(&m_crossHair);
    overview->setObjectName(QStringLiteral("overviewView"));
    m_overview = std::make_unique<PaneControl>("Overview", overview->title(), overview);
    m_images = std::make_unique<PaneControl>("Images", tr("Images"), m_imagesView);
    m_images->setValid(true);
    for (const PaneControl* control : volumeControls()) {
        auto* const view = qobject_cast<PaneView*>(control->view());
        connect(view, &PaneView::focused, this, [view] { makeCurrent(view); });
    }
}

PaneControl* VolumePanes::planeControl(Plane plane) const {
    return m_planes[static_cast<std::size_t>(plane)].get();
}

std::vector<PaneControl*> VolumePanes::volumeControls() const {
    std::vector<PaneControl*> controls;
    for (const auto& control : m_planes)
        controls.push_back(control.get());
    controls.push_back(m_overview.get());
    return controls;
}

// --- images

void VolumePanes::showVolume(const vlr::ImageSeries& series, const Volume& volume, int slice) {
    m_series = series;
    m_crossHair.setSize(volume.size());
    if (slice >= 0)
        m_crossHair.setSlice(Plane::Axial, slice);
    setVolume(volume);
}

void VolumePanes::showSeries(const vlr::ImageSeries& series, int slice, const QString& reason) {
    m_series = series;
    m_imagesView->showSeries(series, slice);
    m_imagesView->setReason(reason);
    setVolume({});
}

void VolumePanes::showNote(const QString& text) {
    m_series = {};
    m_imagesView->showNote(text);
    setVolume({});
}

void VolumePanes::setVolume(const Volume& volume) {
    m_volume = volume;
    for (const Plane plane : allPlanes)
        if (auto* const view = qobject_cast<PlaneView*>(planeControl(plane)->view()))
            view->setVolume(volume);
    if (auto* const view = qobject_cast<OverviewView*>(m_overview->view()))
        view->setVolume(volume);
    for (PaneControl* control : volumeControls())
        control->setValid(hasVolume());
    emit imagesChanged();
}

void VolumePanes::setSlice(int slice) {
    if (hasVolume())
        m_crossHair.setSlice(Plane::Axial, slice);
    else
        m_imagesView->setSlice(slice);
}

// --- what the views show of the rest

void VolumePanes::markCurrent(const QString& label) {
    for (const PaneControl* control : volumeControls())
        if (auto* const view = qobject_cast<PaneView*>(control->view()))
            view->setCurrent(control->label() == label);
}

void VolumePanes::showPatient() {
    const DataPointer<Patient> patient = AppBase::getCurrentPatient();
    const QStringList text =
        patient ? QStringList{patient->name(), patient->patientId()} : QStringList();
    m_imagesView->setPatientText(text);
    for (const PaneControl* control : volumeControls())
        if (auto* const view = qobject_cast<PaneView*>(control->view()))
            view->setPatientText(text);
}
