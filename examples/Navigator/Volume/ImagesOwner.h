#pragma once

#include "Data/Patient.h"

#include <QtCore/QStringList>

/// Whom open images belong to: the patient who was the current one when they were opened, or
/// nobody. The example images are nobody's, and are called what they are.
///
///     const ImagesOwner owner = ImagesOwner::ofCurrentPatient();
///     panes.showVolume(series, volume, -1, owner);
class ImagesOwner {
public:
    ImagesOwner() = default; ///< Nobody.
    static ImagesOwner ofCurrentPatient();
    static ImagesOwner example();

    bool isExample() const { return m_isExample; }
    const DataPointer<Patient>& patient() const { return m_patient; } ///< Null for nobody.
    /// Whether nothing is wrong with showing the images while that patient is the current one,
    /// null for none: they are nobody's, or his, however often he was loaded.
    bool suits(const DataPointer<Patient>& current) const;
    /// By what the patient is known at the next start; empty for nobody.
    QString storedName() const;
    QStringList text() const; ///< As the views of the images show it.

private:
    DataPointer<Patient> m_patient;
    bool m_isExample = false;
};
