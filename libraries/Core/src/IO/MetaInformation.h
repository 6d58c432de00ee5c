#pragma once

#include "IO/vlrURI.h"

#include <QtCore/QMap>
#include <QtCore/QString>

/// What a listing knows of a stored patient without reading the patient: "id", "name", "sex"
/// (the number of Patient::Sex), "birthDate" (ISO 8601) and "changed" (ISO 8601, UTC).
class MetaInformation {
public:
    QString value(const QString& name) const { return m_values.value(name); } ///< Empty if absent.
    void setValue(const QString& name, const QString& value) { m_values.insert(name, value); }

    const vlr::URI& uri() const { return m_uri; }
    void setUri(const vlr::URI& uri) { m_uri = uri; }

private:
    QMap<QString, QString> m_values;
    vlr::URI m_uri;
};
