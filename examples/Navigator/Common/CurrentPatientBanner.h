#pragma once

#include "Observer/CaSubject.h"

#include <QtWidgets/QFrame>

class QLabel;
class QtElidedLabel;

/// Tells which patient everything on the screen belongs to, and where others on the network may
/// read or change the patients, why. It follows the application object and the setting by itself.
class CurrentPatientBanner : public QFrame {
    Q_OBJECT

public:
    explicit CurrentPatientBanner(QWidget* parent = nullptr);

protected:
    void timerEvent(QTimerEvent* event) override;

private:
    void followPatient();
    void showProtection();
    void refresh();

    QtElidedLabel* m_name;
    QtElidedLabel* m_id;
    QtElidedLabel* m_details;
    QLabel* m_unprotected;
    CaConnection m_patientChanges;
    CaConnection m_valueChanges;
};
