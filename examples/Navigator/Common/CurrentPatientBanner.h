#pragma once

#include "Observer/CaSubject.h"

#include <QtWidgets/QFrame>

class QtElidedLabel;

/// Tells which patient everything on the screen belongs to. It follows the application object by
/// itself.
class CurrentPatientBanner : public QFrame {
    Q_OBJECT

public:
    explicit CurrentPatientBanner(QWidget* parent = nullptr);

private:
    void followPatient();
    void refresh();

    QtElidedLabel* m_name;
    QtElidedLabel* m_id;
    QtElidedLabel* m_details;
    CaConnection m_patientChanges;
    CaConnection m_valueChanges;
};
