#include "Review/ScreenshotModel.h"

#include "Data/DataIterator.h"

#include <QtCore/QDateTime>
#include <QtCore/QLocale>
#include <QtCore/QRegularExpression>

#include <algorithm>

namespace {

constexpr int cacheSize = 64 * 1024; // KiB, at least the thumbnails of a very large screen

// The end of the name that a screenshot is given: the time, and a number for those after the first.
QRegularExpressionMatch endOfName(const QtScreenShotData& record) {
    static const QRegularExpression end(QStringLiteral("_(\\d{8}_\\d{6})(?:_(\\d+))?$"));
    return end.match(record.id());
}

std::pair<QString, int> orderOf(const DataPointer<QtScreenShotData>& record) {
    const auto match = endOfName(*record);
    return {match.captured(1), match.captured(2).toInt()};
}

bool isNewer(const DataPointer<QtScreenShotData>& a, const DataPointer<QtScreenShotData>& b) {
    return orderOf(a) > orderOf(b);
}

std::vector<DataPointer<QtScreenShotData>> screenshotsOf(const DataPointer<Patient>& patient) {
    std::vector<DataPointer<QtScreenShotData>> records;
    if (!patient)
        return records;
    DataIterator items(patient);
    while (const DataPointer<Data> item = items.next())
        if (const auto record = dataCast<QtScreenShotData>(item))
            records.push_back(record);
    std::stable_sort(records.begin(), records.end(), isNewer);
    return records;
}

} // namespace

QString screenshotTitle(const QtScreenShotData& record) {
    const auto match = endOfName(record);
    const QDateTime time =
        QDateTime::fromString(match.captured(1), QStringLiteral("yyyyMMdd_hhmmss"));
    if (!time.isValid())
        return record.id().isEmpty() ? ScreenshotModel::tr("Without a name") : record.id();
    const QString text = QLocale().toString(time, QStringLiteral("dd MMM yyyy hh:mm:ss"));
    return match.captured(2).isEmpty() ? text : text + QStringLiteral(" #") + match.captured(2);
}

ScreenshotModel::ScreenshotModel(QObject* parent)
    : QAbstractListModel(parent), m_thumbnails(cacheSize), m_decoder(new BackgroundDecoder(this)) {
    connect(m_decoder, &BackgroundDecoder::decoded, this, &ScreenshotModel::keep);
}

// Thumbnails of records that stay are kept: a new screenshot must not make all others flicker.
void ScreenshotModel::setPatient(const DataPointer<Patient>& patient) {
    beginResetModel();
    m_decoder->clear();
    m_reasons.clear();
    const auto previous = std::move(m_records);
    m_records = screenshotsOf(patient);
    for (const auto& record : previous)
        if (!indexOf(record.get()).isValid())
            m_thumbnails.remove(record.get());
    endResetModel();
}

void ScreenshotModel::setPixelRatio(qreal ratio) {
    if (qFuzzyCompare(ratio, m_pixelRatio))
        return;
    m_pixelRatio = ratio;
    m_thumbnails.clear();
}

DataPointer<QtScreenShotData> ScreenshotModel::screenshot(const QModelIndex& index) const {
    const bool isOurs = index.isValid() && index.model() == this && index.row() < rowCount();
    return isOurs ? m_records[static_cast<std::size_t>(index.row())]
                  : DataPointer<QtScreenShotData>();
}

QModelIndex ScreenshotModel::indexOf(const QtScreenShotData* record) const {
    const auto found = std::find_if(m_records.begin(), m_records.end(),
                                    [&](const auto& each) { return each.get() == record; });
    return found == m_records.end() ? QModelIndex()
                                    : index(static_cast<int>(found - m_records.begin()));
}

int ScreenshotModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_records.size());
}

QVariant ScreenshotModel::data(const QModelIndex& index, int role) const {
    const auto record = screenshot(index);
    if (!record)
        return {};
    const QString reason = m_reasons.value(record.get());
    switch (role) {
    case Qt::DisplayRole:
        return screenshotTitle(*record);
    case Qt::DecorationRole:
        return reason.isEmpty() ? thumbnail(record) : QVariant();
    case Qt::AccessibleTextRole:
        return reason.isEmpty() ? screenshotTitle(*record)
                                : screenshotTitle(*record) + QStringLiteral(". ") + reason;
    case ReasonRole:
        return reason;
    default:
        return {};
    }
}

QVariant ScreenshotModel::thumbnail(const DataPointer<QtScreenShotData>& record) const {
    if (const QPixmap* const kept = m_thumbnails.object(record.get()))
        return *kept;
    m_decoder->request(record, thumbnailSize * m_pixelRatio);
    return {};
}

void ScreenshotModel::keep(const DataPointer<QtScreenShotData>& record, const QImage& image,
                           const CaError& error) {
    const QModelIndex changed = indexOf(record.get());
    if (!changed.isValid())
        return;
    if (error == CaError::nullError) {
        auto* const thumbnail = new QPixmap(QPixmap::fromImage(image));
        thumbnail->setDevicePixelRatio(m_pixelRatio);
        m_thumbnails.insert(record.get(), thumbnail, static_cast<int>(image.sizeInBytes() / 1024));
    } else {
        m_reasons.insert(record.get(), QString::fromStdString(error.text()));
    }
    emit dataChanged(changed, changed);
}
