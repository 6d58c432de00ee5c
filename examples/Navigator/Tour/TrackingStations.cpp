#include "Tour/TrackingStations.h"

#include "Tracking/ToolGeometry.h"
#include "Tracking/TrackingRecorder.h"

#include <QtCore/QStandardPaths>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QTabWidget>

namespace {

vlr::TrackingMeasurement restingTool(const char* file, const Vector3d& place) {
    vlr::ToolGeometry geometry;
    vlr::TrackingMeasurement measurement;
    if (!vlr::readToolGeometry(QStringLiteral(":/tools/") + QString::fromLatin1(file), geometry)
             .isNull())
        throw TourFailure("a tool is not known");
    measurement.tool = geometry.name;
    for (const Vector3d& marker : geometry.markers)
        measurement.markers.push_back(marker + place);
    return measurement;
}

// Ten minutes in which nothing moves: the pointer's tip is at the middle of the volume.
QString makeRecording(const TourActions& actions) {
    const QString path = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) +
                         QStringLiteral("/tools at rest.track");
    vlr::TrackingMeasurement tools[] = {restingTool("ReferenceBase.xml", {0, 0, -1400}),
                                        restingTool("Pointer.xml", {1, 2, -1401}),
                                        restingTool("Drill.xml", {-30, 1, -1420})};
    vlr::TrackingRecorder recorder(path);
    bool isWritten = recorder.open().isNull();
    for (int tenths = 0; tenths < 6000; ++tenths)
        for (vlr::TrackingMeasurement& tool : tools) {
            tool.time = vlr::TrackingTime(std::chrono::milliseconds(100 * tenths));
            recorder.received(tool);
        }
    isWritten = recorder.close().isNull() && isWritten;
    actions.expect(isWritten, "the recording cannot be made");
    return path;
}

void chooseRecording(TourActions& actions, const QString& path) {
    actions.inDialog([&] { actions.click("Configure"); },
                     [&](QWidget* dialog) {
                         auto* const tabs = dialog->findChild<QTabWidget*>();
                         tabs->setCurrentIndex(tabs->count() - 1);
                         actions.find<QComboBox>("trackingSource")->setCurrentIndex(2);
                         auto* const file = actions.find<QLineEdit>("trackingRecording");
                         file->selectAll();
                         actions.type(file, path);
                         actions.picture("08d-tracking-configuration");
                         actions.click("ok");
                     });
}

} // namespace

void trackingStations(TourActions& actions) {
    actions.click("startTracking");
    const auto isMarkerSeen = [&] {
        for (const QLabel* label : actions.window()->findChildren<QLabel*>())
            if (label->accessibleName() == QLatin1String("Marker 1: visible"))
                return true;
        return false;
    };
    actions.waitFor(isMarkerSeen, "a marker that is seen");
    actions.expect(actions.find<QLabel>("tipPointer")->text().contains(QLatin1Char(',')),
                   "the pointer is not seen");
    actions.picture("08c-tracking");
    actions.click("axialView");
    actions.click("sagittalView");
    chooseRecording(actions, makeRecording(actions));
    actions.expectText<QLabel>("tipPointer", QStringLiteral("1.0, 2.0, -1.0"));
    actions.picture("08e-tips-in-the-slices");
    actions.click("startTracking");
    actions.expectText<QLabel>("tipPointer", QStringLiteral("-"));
}
