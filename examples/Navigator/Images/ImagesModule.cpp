#include "Images/ImagesModule.h"

#include "AppBase/AppBase.h"
#include "Base/QtElidedLabel.h"
#include "Common/AfterFirstPaint.h"
#include "Images/ImagesOptionsWidget.h"
#include "Images/ImagesView.h"
#include "Images/PhantomFiles.h"
#include "Images/ProblemList.h"
#include "Log/vlrLog.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QStandardPaths>
#include <QtWidgets/QFileDialog>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QVBoxLayout>

namespace {

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

QString sourceText(const QStringList& paths) {
    if (paths.size() == 1)
        return QDir::toNativeSeparators(paths.first());
    return ImagesModule::tr("%n files and folders, the first: %1", nullptr, paths.size())
        .arg(QDir::toNativeSeparators(paths.first()));
}

} // namespace

ImagesModule::ImagesModule(const QStringList& paths)
    : WorkflowModule(QStringLiteral("Images")), m_paths(paths), m_view(new ImagesView) {
    setMainWidget(m_view);
    loadOptions();
    createContext();
    m_view->showNote(tr("Loading images..."));
    if (AppBase* application = AppBase::instance())
        m_patientChanges = CaConnection(*application, AppBase::CURRENT_PATIENT_CHANGED,
                                        [this](auto&&...) { showPatient(); });
    showPatient();
    // Listing a large folder, or making the example images, takes a moment.
    afterFirstPaint(m_view, [this] { openForTheFirstTime(); });
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

    connect(images, &QPushButton::clicked, this, &ImagesModule::chooseImages);
    connect(folder, &QPushButton::clicked, this, &ImagesModule::chooseFolder);
    connect(m_problems, &ProblemList::sliceChosen, m_view, &ImagesView::setSlice);
    connect(m_view, &ImagesView::sliceChanged, this,
            [this](int slice) { m_options->setSlice(slice); });
    connect(m_view, &ImagesView::sliceFailed, this, [this](int slice, const CaError& error) {
        m_problems->addProblem(m_view->series(), slice, error);
    });
}

void ImagesModule::activate() {
    m_view->setFocus();
}

void ImagesModule::deactivate() {}

void ImagesModule::showPatient() {
    const DataPointer<Patient> patient = AppBase::getCurrentPatient();
    m_view->setPatientText(patient ? QStringList{patient->name(), patient->patientId()}
                                   : QStringList());
}

// --- opening

void ImagesModule::openForTheFirstTime() {
    const Opening opening = m_paths.isEmpty() ? Opening() : openPaths(absolute(m_paths), 0);
    if (opening.isCancelled)
        m_view->showNote(tr("No images"));
    else if (m_view->series().isEmpty() && !openAgain())
        openPhantom();
    report(opening);
    takeFocus();
}

// The dialog that showed the progress took the keyboard.
void ImagesModule::takeFocus() {
    if (!isActive())
        return;
    m_view->activateWindow();
    m_view->setFocus();
}

// True when nothing else is to be shown instead.
bool ImagesModule::openAgain() {
    if (m_options->paths().isEmpty() || !m_options->opensLastImages())
        return false;
    const Opening opening = openPaths(m_options->paths(), m_options->slice());
    if (opening.problem.isEmpty())
        return true;
    if (opening.isCancelled) {
        // Stopping it once is no reason to forget it.
        report(opening);
        m_view->showNote(tr("No images"));
        return true;
    }
    m_problems->addText(
        tr("The images shown last time are not there any more: %1").arg(opening.problem));
    m_options->setPaths({});
    m_options->setSlice(-1);
    return false;
}

void ImagesModule::openPhantom() {
    const BusyCursor busy;
    vlr::ImageSeries series;
    CaError error = providePhantom();
    if (error == CaError::nullError)
        error = vlr::ImageSeries::open({phantomFolder()}, series);
    if (error != CaError::nullError) {
        m_problems->addText(QString::fromStdString(error.text()));
        m_view->showNote(tr("No images"));
        return;
    }
    m_source->setFullText(tr("Example: Shepp-Logan head phantom"));
    const int slice = m_options->slice();
    m_view->showSeries(series, slice >= 0 ? slice : series.count() / 2);
}

// Shows what the paths hold, or tells why that is nothing.
ImagesModule::Opening ImagesModule::openPaths(const QStringList& paths, int slice) {
    const BusyCursor busy;
    vlr::ImageSeries series;
    const CaError error = vlr::ImageSeries::open(paths, series);
    if (series.errorCount() == series.count())
        return {causeText(series, error), error.id() == vlr::ImageSeries::cancelledError};
    m_problems->showProblems(series);
    if (error != CaError::nullError)
        m_problems->addText(QString::fromStdString(error.text()));
    if (!m_options->setPaths(paths))
        m_problems->addText(tr("These are too many files to be opened again at the next start. "
                               "Open their folder instead."));
    m_source->setFullText(sourceText(paths));
    m_view->showSeries(series, slice);
    return {};
}

void ImagesModule::open(const QStringList& paths) {
    report(openPaths(absolute(paths), 0));
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

QString ImagesModule::startFolder() const {
    return m_options->paths().isEmpty()
               ? QStandardPaths::writableLocation(QStandardPaths::PicturesLocation)
               : QFileInfo(m_options->paths().first()).path();
}

void ImagesModule::chooseImages() {
    const QString filter =
        tr("Images (%1);;All files (*)").arg(vlr::imageNameFilters().join(QLatin1Char(' ')));
    const QStringList files =
        QFileDialog::getOpenFileNames(m_view->window(), tr("Open images"), startFolder(), filter);
    if (!files.isEmpty())
        open(files);
    m_view->setFocus();
}

void ImagesModule::chooseFolder() {
    const QString folder =
        QFileDialog::getExistingDirectory(m_view->window(), tr("Open folder"), startFolder());
    if (!folder.isEmpty())
        open({folder});
    m_view->setFocus();
}
