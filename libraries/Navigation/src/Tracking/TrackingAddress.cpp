#include "Tracking/TrackingAddress.h"

#include "Tracking/OpenIGTLinkClient.h"
#include "Tracking/RecordingPlayer.h"
#include "Tracking/SimulatedCamera.h"

#include <QtCore/QUrl>
#include <QtCore/QUrlQuery>

namespace vlr {

namespace {

CaError addressError(const QString& address, const QString& text) {
    return CaError("TrackingAddress::malformed",
                   QStringLiteral("The tracker address \"%1\" cannot be used: %2.")
                       .arg(address, text)
                       .toStdString());
}

QString simulationProblem(const QUrlQuery& query, SimulatedCamera::Options& options) {
    const QString seed = query.queryItemValue(QStringLiteral("seed"));
    const QString noise = query.queryItemValue(QStringLiteral("noise"));
    bool isSeed = true;
    bool isNoise = true;
    if (!seed.isEmpty())
        options.seed = seed.toULongLong(&isSeed);
    if (!noise.isEmpty())
        options.noise = noise.toDouble(&isNoise);
    if (!isSeed)
        return QStringLiteral("the seed is not a whole number");
    if (!isNoise || !(options.noise >= 0 && options.noise <= 10))
        return QStringLiteral("the noise is not a number from 0 to 10 mm");
    return {};
}

// The first parameter that is none of the known ones, or is there twice.
QString unknownParameter(const QUrlQuery& query, QStringList known) {
    for (const auto& item : query.queryItems(QUrl::FullyDecoded))
        if (!known.removeOne(item.first))
            return QStringLiteral("the parameter \"%1\" is not known, or there twice")
                .arg(item.first);
    return {};
}

QString parameterProblem(const QString& scheme, const QUrlQuery& query) {
    if (scheme == QLatin1String("simulation"))
        return unknownParameter(query, {QStringLiteral("seed"), QStringLiteral("noise")});
    if (scheme == QLatin1String("igtl"))
        return unknownParameter(query, {QStringLiteral("interface")});
    return unknownParameter(query, {QStringLiteral("pace")});
}

} // namespace

CaError createTrackingSource(const QString& address, const TrackingClock& clock,
                             std::unique_ptr<TrackingSource>& source) {
    const QUrl url(address.isEmpty() ? QStringLiteral("simulation:") : address, QUrl::StrictMode);
    const QUrlQuery query(url);
    if (!url.isValid())
        return addressError(address, url.errorString());
    const QString unknown = parameterProblem(url.scheme(), query);
    if (!unknown.isEmpty())
        return addressError(address, unknown);
    if (url.scheme() == QLatin1String("simulation")) {
        SimulatedCamera::Options options;
        const QString problem = simulationProblem(query, options);
        if (!problem.isEmpty())
            return addressError(address, problem);
        source = std::make_unique<SimulatedCamera>(options, clock);
    } else if (url.scheme() == QLatin1String("igtl")) {
        OpenIGTLinkClient::Options options;
        options.host = url.host();
        options.port = static_cast<quint16>(url.port(options.port));
        if (options.host.isEmpty() || options.port == 0)
            return addressError(address, QStringLiteral("there is no host, or no port"));
        options.interface = query.queryItemValue(QStringLiteral("interface"), QUrl::FullyDecoded);
        if (query.hasQueryItem(QStringLiteral("interface")) && options.interface.isEmpty())
            return addressError(address, QStringLiteral("the interface has no name"));
        source = std::make_unique<OpenIGTLinkClient>(options, clock);
    } else if (url.scheme() == QLatin1String("recording")) {
        const QString pace = query.queryItemValue(QStringLiteral("pace"));
        if (!pace.isEmpty() && pace != QLatin1String("own") && pace != QLatin1String("fast"))
            return addressError(address, QStringLiteral("the pace is neither own nor fast"));
        source = std::make_unique<RecordingPlayer>(
            url.path(QUrl::FullyDecoded),
            pace == QLatin1String("fast") ? RecordingPlayer::Fast : RecordingPlayer::Own, clock);
    } else {
        return addressError(address, QStringLiteral("it is none of simulation:, igtl://host:port "
                                                    "and recording:/path"));
    }
    return CaError::nullError;
}

} // namespace vlr
