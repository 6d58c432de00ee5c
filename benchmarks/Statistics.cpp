#include "Statistics.h"

#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>

#include <algorithm>
#include <stdexcept>

namespace {

// Interpolated between the two samples it falls between.
double quantile(const std::vector<double>& sorted, double fraction) {
    const double position = fraction * static_cast<double>(sorted.size() - 1);
    const auto lower = static_cast<std::size_t>(position);
    const std::size_t upper = std::min(lower + 1, sorted.size() - 1);
    const double share = position - static_cast<double>(lower);
    return sorted[lower] + share * (sorted[upper] - sorted[lower]);
}

} // namespace

Summary::Summary(const std::vector<double>& measured) : samples(measured) {
    std::vector<double> sorted = measured;
    std::sort(sorted.begin(), sorted.end());
    median = quantile(sorted, 0.5);
    lowerQuartile = quantile(sorted, 0.25);
    upperQuartile = quantile(sorted, 0.75);
}

QJsonObject Summary::toJson() const {
    QJsonArray array;
    for (const double sample : samples)
        array.append(sample);
    return {{QStringLiteral("median"), median},
            {QStringLiteral("lowerQuartile"), lowerQuartile},
            {QStringLiteral("upperQuartile"), upperQuartile},
            {QStringLiteral("samples"), array}};
}

void writeJson(const QString& path, const QJsonObject& object) {
    const QByteArray text = QJsonDocument(object).toJson();
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size() || !file.flush())
        throw std::runtime_error(
            QStringLiteral("%1: %2").arg(path, file.errorString()).toStdString());
}
