#include "Volume/VolumePanes.h"

#include "AppBase/AppBase.h"
#include "AppBase/vlrControlList.h"
#include "Base/QtQVViewFrame.h"
#include "Common/PatientText.h"
#include "Volume/ImagesView.h"
#include "Volume/OverviewView.h"
#include "Volume/PlaneView.h"

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
                                        [this](auto&&...) { followPatient(); });
    followPatient();
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

void VolumePanes::showVolume(const vlr::ImageSeries& series, const Volume& volume, int slice,
                             const ImagesOwner& owner) {
    if (!takeOwner(owner))
        return;
    m_series = series;
    m_crossHair.setSize(volume.size());
    if (slice >= 0)
        m_crossHair.setSlice(Plane::Axial, slice);
    setVolume(volume);
}

void VolumePanes::showSeries(const vlr::ImageSeries& series, int slice, const QString& reason,
                             const ImagesOwner& owner) {
    if (!takeOwner(owner))
        return;
    m_series = series;
    m_imagesView->showSeries(series, slice);
    m_imagesView->setReason(reason);
    setVolume({});
}

void VolumePanes::showNote(const QString& text) {
    m_series = {};
    m_owner = {};
    m_imagesView->showNote(text);
    setVolume({});
}

void VolumePanes::setVolume(const Volume& volume) {
    m_volume = volume;
    showOwner(); // First, so that no picture is ever painted with the former name.
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

// --- whom the images belong to

QString VolumePanes::closingText() const {
    return m_owner.patient() ? tr("The images that are open for %1 are closed.")
                                   .arg(nameAndId(*m_owner.patient()))
                             : QString();
}

// False for a patient who is not the current one (any more). He may have been loaded anew since the
// owner was asked for; the former object of him is told of no changes.
bool VolumePanes::takeOwner(const ImagesOwner& owner) {
    if (!owner.suits(AppBase::getCurrentPatient()))
        return false;
    m_owner = owner.patient() ? ImagesOwner::ofCurrentPatient() : owner;
    return true;
}

void VolumePanes::followPatient() {
    const DataPointer<Patient> patient = AppBase::getCurrentPatient();
    m_valueChanges = patient
                         ? CaConnection(*patient, Data::CHANGED, [this](auto&&...) { showOwner(); })
                         : CaConnection();
    const bool suits = m_owner.suits(patient);
    if (!suits)
        showNote(tr("The images of the former patient were closed"));
    else if (m_owner.patient()) // He may have been loaded anew.
        m_owner = ImagesOwner::ofCurrentPatient();
    showOwner();
    if (!suits)
        emit closed();
}

void VolumePanes::showOwner() {
    const QStringList text = m_series.isEmpty() ? QStringList() : m_owner.text();
    m_imagesView->setPatientText(text);
    for (const PaneControl* control : volumeControls())
        if (auto* const view = qobject_cast<PaneView*>(control->view()))
            view->setPatientText(text);
}
