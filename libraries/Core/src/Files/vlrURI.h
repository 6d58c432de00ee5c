#pragma once

#include "vlrCoreExport.h"

#include <QtCore/QString>
#include <QtCore/QUrl>

namespace vlr {

/// Where a piece of data is kept: a file, a patient in the repository, or a named binary part
/// of one of a patient's items.
///
///     URI::file("/data/slice.png")              file:///data/slice.png
///     URI::patient(uid)                         patient:6f9c...
///     URI::patient(uid).part(key, "screenShot") patient:6f9c...?item=41ab...&part=screenShot
///
/// Texts inside may hold any character. A default-constructed URI is not valid.
class VLR_CORE_EXPORT URI {
public:
    URI();
    explicit URI(const QString& text); ///< Text without a scheme gives an invalid URI.

    static URI file(const QString& path);
    static URI patient(const QString& uid);
    /// The binary part `name` of the item with the key; invalid when this is no patient.
    URI part(const QString& itemKey, const QString& name) const;

    bool isValid() const;
    QString scheme() const;
    bool isFile() const;
    bool isPatient() const;

    QString filePath() const;   ///< Empty unless isFile().
    QString patientUid() const; ///< Empty unless isPatient().
    QString itemKey() const;    ///< Empty unless this names a binary part.
    QString partName() const;   ///< Empty unless this names a binary part.
    QString toString() const;

    friend bool operator==(const URI& a, const URI& b) { return a.m_url == b.m_url; }
    friend bool operator!=(const URI& a, const URI& b) { return a.m_url != b.m_url; }

private:
    QUrl m_url;
};

} // namespace vlr
