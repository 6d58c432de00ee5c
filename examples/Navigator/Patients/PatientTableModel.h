#pragma once

#include "IO/MetaInformation.h"

#include <QtCore/QAbstractTableModel>

#include <vector>

/// The stored patients as a table. The current one has a mark and bold type.
class PatientTableModel : public QAbstractTableModel {
    Q_OBJECT

public:
    enum Column { Mark, Id, Name, Sex, Born, Changed, ColumnCount };
    /// What a column is sorted by: the date, say, and not its text.
    static constexpr int SortRole = Qt::UserRole;

    explicit PatientTableModel(QObject* parent = nullptr);

    void setPatients(std::vector<MetaInformation> patients);
    void setCurrentPatient(const vlr::URI& uri); ///< Not valid: none.
    const MetaInformation& patient(int row) const;
    int rowOf(const vlr::URI& uri) const; ///< -1 where there is no such patient.
    int rowOfId(const QString& patientId) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    QVariant data(const QModelIndex& index, int role) const override;

private:
    QVariant markData(const MetaInformation& patient, int role) const;

    std::vector<MetaInformation> m_patients;
    vlr::URI m_current;
};
