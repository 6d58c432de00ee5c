#pragma once

#include "Observer/CaSubject.h"

#include <QtWidgets/QFrame>

class ElidedLabel;

/// Tells which patient everything on the screen belongs to. It follows the application object by
/// itself.
class CurrentPatientBanner : public QFrame {
    Q_OBJECT

public:
    explicit CurrentPatientBanner(QWidget* parent = nullptr);

private:
    void followPatient();
    void refresh();

    ElidedLabel* m_name;
    ElidedLabel* m_id;
    ElidedLabel* m_details;
    CaConnection m_patientChanges;
    CaConnection m_valueChanges;
};
