#include "Tracking/SourceChoice.h"

#include "Tracking/OpenIGTLinkClient.h"
#include "Tracking/RecordingPlayer.h"
#include "Tracking/SimulatedCamera.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFileInfo>

#include <tuple>

namespace {

// With it both instruments are mostly within 62 mm of the reference base, inside the example
// volume.
constexpr quint64 simulationSeed = 1886459;

QString tr(const char* text) {
    return QCoreApplication::translate("SourceChoice", text);
}

CaError incomplete(const QString& text) {
    return CaError("SourceChoice::incomplete", text.toStdString());
}

} // namespace

QString SourceChoice::text() const {
    switch (kind) {
    case Simulated:
        break;
    case Network:
        return QStringLiteral("%1:%2").arg(host).arg(port);
    case Recording:
        return QFileInfo(file).fileName();
    }
    return tr("Simulated camera");
}

CaError SourceChoice::make(const vlr::TrackingClock& clock,
                           std::unique_ptr<vlr::TrackingSource>& source) const {
    if (kind == Network && host.isEmpty())
        return incomplete(tr("No tracker is named. Enter its host in the configuration."));
    if (kind == Recording && file.isEmpty())
        return incomplete(tr("No recording is named. Choose one in the configuration."));
    if (kind == Network) {
        vlr::OpenIGTLinkClient::Options options;
        options.host = host;
        options.port = static_cast<quint16>(port);
        source = std::make_unique<vlr::OpenIGTLinkClient>(options, clock);
    } else if (kind == Recording) {
        const auto pace = isFast ? vlr::RecordingPlayer::Fast : vlr::RecordingPlayer::Own;
        source = std::make_unique<vlr::RecordingPlayer>(file, pace, clock);
    } else {
        vlr::SimulatedCamera::Options options;
        options.seed = simulationSeed;
        source = std::make_unique<vlr::SimulatedCamera>(options, clock);
    }
    return CaError::nullError;
}

bool SourceChoice::operator==(const SourceChoice& other) const {
    const auto all = [](const SourceChoice& choice) {
        return std::tie(choice.kind, choice.host, choice.port, choice.file, choice.isFast);
    };
    return all(*this) == all(other);
}
