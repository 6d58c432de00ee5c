#pragma once

#include "Files/vlrURI.h"

#include <QtCore/QString>

#include <utility>
#include <vector>

/// What a listing knows of a stored patient without reading the patient: "id", "name", "sex"
/// (the number of Patient::Sex), "birthDate" (ISO 8601) and "changed" (ISO 8601, UTC).
class MetaInformation {
public:
    using Value = std::pair<QString, QString>; ///< A name and what belongs to it.

    MetaInformation() = default;
    /// No two of the values may have the same name.
    MetaInformation(vlr::URI uri, std::vector<Value> values)
        : m_values(std::move(values)), m_uri(std::move(uri)) {}

    QString value(const QString& name) const { ///< Empty if absent.
        for (const Value& value : m_values)
            if (value.first == name)
                return value.second;
        return {};
    }

    const vlr::URI& uri() const { return m_uri; }

private:
    std::vector<Value> m_values; // Few, and there are many of these objects.
    vlr::URI m_uri;
};
