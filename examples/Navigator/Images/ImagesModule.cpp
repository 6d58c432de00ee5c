#include "Images/ImagesModule.h"

#include "AppBase/AppBase.h"
#include "AppBase/QtAppMainWindow.h"
#include "Base/AskForFiles.h"
#include "Base/QtElidedLabel.h"
#include "Common/AfterFirstPaint.h"
#include "Images/ImagesOptionsWidget.h"
#include "Images/PhantomFiles.h"
#include "Images/ProblemList.h"
#include "Log/vlrLog.h"
#include "Volume/ImagesView.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QPointer>
#include <QtCore/QStandardPaths>
#include <QtWidgets/QFileDialog>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QVBoxLayout>

namespace {

constexpr Voxel phantomVoxels{phantomSize, phantomSize, phantomSize};

// Waiting for a slow disk shows.
struct BusyCursor {
    BusyCursor() { AppBase::setBusyCursor(); }
    BusyCursor(const BusyCursor&) = delete;
    BusyCursor& operator=(const BusyCursor&) = delete;
    ~BusyCursor() { AppBase::resetCursor(); }
};

// Why nothing of the series can be shown: the first cause, and how many more there are.
QString causeText(const vlr::ImageSeries& series, const CaError& error) {
    const CaError first = error != CaError::nullError ? error : series.error(0);
    const int others = series.errorCount() - (error != CaError::nullError ? 0 : 1);
    const QString text = QString::fromStdString(first.text());
    return others > 0 ? ImagesModule::tr("%1 (and %n more)", nullptr, others).arg(text) : text;
}

// The folder from which the program is started differs the next time.
QStringList absolute(const QStringList& paths) {
    QStringList result;
    for (const QString& path : paths)
        result << QDir::cleanPath(QFileInfo(path).absoluteFilePath());
    return result;
}

// The example stays the example, whoever opens its folder.
bool isExample(const vlr::ImageSeries& series) {
    for (int i = 0; i < series.count(); ++i)
        if (!isPhantomFile(series.path(i)))
            return false;
    return !series.isEmpty();
}

QString sourceText(const QStringList& paths) {
    if (paths.size() == 1)
        return QDir::toNativeSeparators(paths.first());
    return ImagesModule::tr("%n files and folders, the first: %1", nullptr, paths.size())
        .arg(QDir::toNativeSeparators(paths.first()));
}

} // namespace

ImagesModule::ImagesModule(std::shared_ptr<VolumePanes> panesToUse, const QStringList& paths)
    : VolumeModule(QStringLiteral("Images"), std::move(panesToUse)), m_paths(paths) {
    loadOptions();
    createContext();
    panes().showNote(tr("Loading images..."));
    // Listing a large folder, or making the example images, takes a moment.
    afterFirstPaint(panes().imagesView(), [this] { openForTheFirstTime(); });
}

void ImagesModule::loadOptions() {
    createImagesOptionsFactory();
    createImagesOptionsWidgetFactory();
    linkDataToWidget(ImagesOptions::className, "ImagesOptionsWidget", "",
                     DataFactory::configurationRecord, "");
    m_options = dataCast<ImagesOptions>(DataPointer<Data>(configuration()));
    if (m_options)
        return;
    m_options = DataPointer<ImagesOptions>(new ImagesOptions);
    setConfiguration(m_options.get());
}

void ImagesModule::createContext() {
    QPushButton* const images =
        addButton("OpenFile", tr("Open &images..."), tr("Show the images of some files"));
    QPushButton* const folder =
        addButton("OpenFolder", tr("Open &folder..."), tr("Show all images of a folder"));
    images->setObjectName(QStringLiteral("openImages"));
    folder->setObjectName(QStringLiteral("openFolder"));
    m_source = new QtElidedLabel(Qt::ElideMiddle);
    m_source->setObjectName(QStringLiteral("source"));
    m_problems = new ProblemList;
    m_problems->setObjectName(QStringLiteral("problems"));
    auto* sourceTitle = new QLabel(tr("Source:"));
    auto* problemsTitle = new QLabel(tr("Pr&oblems:"));
    problemsTitle->setBuddy(m_problems);
    contents()->addSpacing(6);
    contents()->addWidget(sourceTitle);
    contents()->addWidget(m_source);
    contents()->addSpacing(6);
    contents()->addWidget(problemsTitle);
    contents()->addWidget(m_problems, 1);
    addLockBox();

    connect(images, &QPushButton::clicked, this, &ImagesModule::chooseImages);
    connect(folder, &QPushButton::clicked, this, &ImagesModule::chooseFolder);
    const ImagesView* const view = panes().imagesView();
    connect(m_problems, &ProblemList::sliceChosen, &panes(), &VolumePanes::setSlice);
    connect(&panes(), &VolumePanes::closed, this, &ImagesModule::forgetClosed);
    connect(view, &ImagesView::sliceChanged, this, &ImagesModule::rememberSlice);
    connect(view, &ImagesView::sliceFailed, this, [this](int slice, const CaError& error) {
        m_problems->addProblem(panes().series(), slice, error);
    });
    connect(panes().crossHair(), &CrossHair::positionChanged, this,
            [this] { rememberSlice(panes().crossHair()->slice(Plane::Axial)); });
}

PaneControl* ImagesModule::arrange() {
    return arrangeAll();
}

// --- opening

void ImagesModule::openForTheFirstTime() {
    const Opening opening = m_paths.isEmpty()
                                ? Opening()
                                : openPaths(absolute(m_paths), -1, ImagesOwner::ofCurrentPatient());
    if (opening.isCancelled)
        panes().showNote(tr("No images"));
    else if (panes().series().isEmpty() && !openAgain())
        openPhantom();
    report(opening);
    takeFocus();
}

// True when nothing else is to be shown instead.
bool ImagesModule::openAgain() {
    if (m_options->paths().isEmpty() || !m_options->opensLastImages())
        return false;
    const ImagesOwner owner = ImagesOwner::ofCurrentPatient();
    if (m_options->patient() != owner.storedName()) {
        m_problems->addText(tr("The images shown last time were not opened for the patient who is "
                               "the current one now. They stay closed."));
        return false;
    }
    const Opening opening = openPaths(m_options->paths(), m_options->slice(), owner);
    if (opening.problem.isEmpty())
        return true;
    if (opening.isCancelled) {
        // Stopping it once is no reason to forget it.
        report(opening);
        panes().showNote(tr("No images"));
        return true;
    }
    if (opening.isOfFormerPatient) {
        // They are still there, for him.
        m_problems->addText(opening.problem);
        return false;
    }
    m_problems->addText(
        tr("The images shown last time are not there any more: %1").arg(opening.problem));
    m_options->setPaths({}, {});
    m_options->setSlice(-1);
    return false;
}

void ImagesModule::openPhantom() {
    const BusyCursor busy;
    vlr::ImageSeries series;
    CaError error = providePhantom();
    if (error == CaError::nullError)
        error = vlr::ImageSeries::open(phantomFiles(), series);
    if (error != CaError::nullError) {
        m_problems->addText(QString::fromStdString(error.text()));
        panes().showNote(tr("No images"));
        return;
    }
    m_source->setFullText(tr("Example: Shepp-Logan head phantom"));
    Volume volume;
    error = Volume::load(series, volume);
    if (error == CaError::nullError && volume.size() == phantomVoxels) {
        // As the only one it stands at the reference base, by agreement.
        volume.setSpacing({phantomSpacing, phantomSpacing, phantomSpacing});
        volume.setRegistered(true);
    }
    m_isRemembered = m_options->paths().isEmpty();
    if (error.id() == Volume::cancelledError)
        panes().showNote(tr("No images"));
    else
        showSeries(series, volume, error, m_isRemembered ? m_options->slice() : -1,
                   ImagesOwner::example());
}

// Shows what the paths hold, or tells why that is nothing.
ImagesModule::Opening ImagesModule::openPaths(const QStringList& paths, int slice,
                                              const ImagesOwner& asked) {
    const BusyCursor busy;
    vlr::ImageSeries series;
    const CaError error = vlr::ImageSeries::open(paths, series);
    if (series.errorCount() == series.count())
        return {causeText(series, error), error.id() == vlr::ImageSeries::cancelledError};
    Volume volume;
    const CaError volumeError = Volume::load(series, volume);
    if (volumeError.id() == Volume::cancelledError)
        return {QString::fromStdString(volumeError.text()), true};
    // Events are processed meanwhile.
    const ImagesOwner owner = isExample(series) ? ImagesOwner::example() : asked;
    if (!owner.suits(AppBase::getCurrentPatient()))
        return {tr("The images are not shown, as their patient is not the current one any more."),
                false, true};
    m_problems->showProblems(series);
    for (int z = 0; z < volume.count(Plane::Axial); ++z)
        if (volume.problem(z) != CaError::nullError)
            m_problems->addProblem(series, z, volume.problem(z));
    if (error != CaError::nullError)
        m_problems->addText(QString::fromStdString(error.text()));
    rememberPaths(paths, owner);
    m_source->setFullText(sourceText(paths));
    showSeries(series, volume, volumeError, slice, owner);
    return {};
}

void ImagesModule::rememberPaths(const QStringList& paths, const ImagesOwner& owner) {
    m_isRemembered = true;
    // The next start would take the images of somebody who has no name yet for nobody's.
    const bool isNamed = !owner.patient() || !owner.storedName().isEmpty();
    if (!m_options->setPaths(isNamed ? paths : QStringList(), owner.storedName()))
        m_problems->addText(tr("These are too many files to be opened again at the next start. "
                               "Open their folder instead."));
}

// Not while the example stands in for images that another patient will see again.
void ImagesModule::rememberSlice(int slice) {
    if (m_isRemembered)
        m_options->setSlice(slice);
}

// Names of files tell as much as the images do.
void ImagesModule::forgetClosed() {
    m_isRemembered = false;
    m_source->setFullText({});
    m_problems->showProblems({});
}

// The series is no volume where there is an error.
void ImagesModule::showSeries(const vlr::ImageSeries& series, const Volume& volume,
                              const CaError& error, int slice, const ImagesOwner& owner) {
    if (error != CaError::nullError) {
        panes().showSeries(series, slice,
                           tr("These images are shown one by one, as they are not a volume. %1")
                               .arg(QString::fromStdString(error.text())),
                           owner);
        return;
    }
    panes().showVolume(series, volume, slice, owner);
    rememberSlice(panes().crossHair()->slice(Plane::Axial));
}

void ImagesModule::open(const QStringList& paths) {
    report(openPaths(absolute(paths), -1, ImagesOwner::ofCurrentPatient()));
}

// Once for what the user did, however many files it concerns.
void ImagesModule::report(const Opening& opening) {
    if (opening.problem.isEmpty())
        return;
    m_problems->addText(opening.problem);
    if (!opening.isCancelled) // Who cancelled knows.
        VLR_LOG(UserWarning) << tr("There is nothing to show. %1").arg(opening.problem);
}

// --- choosing

// Not the folder of another patient, from which nothing should be opened for this one.
QString ImagesModule::startFolder() const {
    const bool isOfPatient = m_options->patient() == ImagesOwner::ofCurrentPatient().storedName();
    return m_options->paths().isEmpty() || !isOfPatient
               ? QStandardPaths::writableLocation(QStandardPaths::PicturesLocation)
               : QFileInfo(m_options->paths().first()).path();
}

void ImagesModule::openChosen(QFileDialog* dialog) {
    const QPointer<ImagesModule> self(this);
    const ImagesOwner owner = ImagesOwner::ofCurrentPatient();
    const QStringList files = vlr::askForFiles(dialog, startFolder());
    if (!self)
        return;
    if (!files.isEmpty())
        report(openPaths(absolute(files), -1, owner));
    takeFocus();
}

void ImagesModule::chooseImages() {
    const QString filter =
        tr("Images (%1);;All files (*)").arg(vlr::imageNameFilters().join(QLatin1Char(' ')));
    auto* const dialog =
        new QFileDialog(AppBase::instance()->getMainWindow(), tr("Open images"), QString(), filter);
    dialog->setFileMode(QFileDialog::ExistingFiles);
    openChosen(dialog);
}

void ImagesModule::chooseFolder() {
    auto* const dialog = new QFileDialog(AppBase::instance()->getMainWindow(), tr("Open folder"));
    dialog->setFileMode(QFileDialog::Directory);
    dialog->setOption(QFileDialog::ShowDirsOnly);
    openChosen(dialog);
}
