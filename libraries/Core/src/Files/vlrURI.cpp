#include "Files/vlrURI.h"

#include <QtCore/QUrlQuery>

namespace vlr {

namespace {

const QString patientScheme = QStringLiteral("patient");
const QString itemField = QStringLiteral("item");
const QString partField = QStringLiteral("part");

// QUrlQuery leaves "+" and the like as they are; encoding the values whole makes every text safe.
QString encoded(const QString& text) {
    return QString::fromLatin1(QUrl::toPercentEncoding(text));
}

QString field(const QUrl& url, const QString& name) {
    return QUrlQuery(url).queryItemValue(name, QUrl::FullyDecoded);
}

} // namespace

URI::URI() = default;

URI::URI(const QString& text) : m_url(text, QUrl::StrictMode) {
    if (m_url.scheme().isEmpty())
        m_url.clear();
}

URI URI::file(const QString& path) {
    URI uri;
    if (!path.isEmpty())
        uri.m_url = QUrl::fromLocalFile(path);
    return uri;
}

URI URI::patient(const QString& uid) {
    URI uri;
    if (!uid.isEmpty()) {
        uri.m_url.setScheme(patientScheme);
        uri.m_url.setPath(uid, QUrl::DecodedMode);
    }
    return uri;
}

URI URI::part(const QString& itemKey, const QString& name) const {
    if (!isPatient() || itemKey.isEmpty() || name.isEmpty())
        return {};
    URI uri = patient(patientUid());
    QUrlQuery query;
    query.addQueryItem(itemField, encoded(itemKey));
    query.addQueryItem(partField, encoded(name));
    uri.m_url.setQuery(query);
    return uri;
}

bool URI::isValid() const {
    return m_url.isValid() && !m_url.scheme().isEmpty();
}

QString URI::scheme() const {
    return m_url.scheme();
}

bool URI::isFile() const {
    return m_url.isLocalFile();
}

bool URI::isPatient() const {
    return m_url.scheme() == patientScheme && m_url.isValid();
}

QString URI::filePath() const {
    return isFile() ? m_url.toLocalFile() : QString();
}

QString URI::patientUid() const {
    return isPatient() ? m_url.path(QUrl::FullyDecoded) : QString();
}

QString URI::itemKey() const {
    return isPatient() ? field(m_url, itemField) : QString();
}

QString URI::partName() const {
    return isPatient() ? field(m_url, partField) : QString();
}

QString URI::toString() const {
    return m_url.toString(QUrl::FullyEncoded);
}

} // namespace vlr
