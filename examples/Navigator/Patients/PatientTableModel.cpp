#include "Patients/PatientTableModel.h"

#include "Base/PlainText.h"
#include "Common/PatientText.h"
#include "Data/PatientText.h"

#include <QtCore/QLocale>
#include <QtGui/QFont>

#include <algorithm>

namespace {

QString value(const MetaInformation& patient, const char* name) {
    return patient.value(QString::fromLatin1(name));
}

QString sex(const MetaInformation& patient) {
    return sexText(static_cast<Patient::Sex>(value(patient, "sex").toInt()));
}

QDate birthDate(const MetaInformation& patient) {
    return QDate::fromString(value(patient, "birthDate"), Qt::ISODate);
}

QDateTime changed(const MetaInformation& patient) {
    QDateTime time = QDateTime::fromString(value(patient, "changed"), Qt::ISODateWithMs);
    time.setTimeSpec(Qt::UTC);
    return time.toLocalTime();
}

QString displayText(const MetaInformation& patient, int column) {
    switch (column) {
    case PatientTableModel::Id:
        return vlr::visibleText(value(patient, "id"));
    case PatientTableModel::Name:
        return vlr::visibleText(value(patient, "name"));
    case PatientTableModel::Sex:
        return sex(patient);
    case PatientTableModel::Born:
        return dateText(birthDate(patient));
    case PatientTableModel::Changed:
        return QLocale().toString(changed(patient), dateFormat() + QStringLiteral(" HH:mm"));
    default:
        return {};
    }
}

template <class Matches>
int findRow(const std::vector<MetaInformation>& patients, const Matches& matches) {
    const auto found = std::find_if(patients.begin(), patients.end(), matches);
    return found == patients.end() ? -1 : static_cast<int>(found - patients.begin());
}

} // namespace

PatientTableModel::PatientTableModel(QObject* parent) : QAbstractTableModel(parent) {}

void PatientTableModel::setPatients(std::vector<MetaInformation> patients) {
    beginResetModel();
    m_patients = std::move(patients);
    endResetModel();
}

void PatientTableModel::setCurrentPatient(const vlr::URI& uri) {
    m_current = uri;
    if (rowCount() > 0)
        emit dataChanged(index(0, 0), index(rowCount() - 1, ColumnCount - 1));
}

const MetaInformation& PatientTableModel::patient(int row) const {
    return m_patients.at(static_cast<std::size_t>(row));
}

int PatientTableModel::rowOf(const vlr::URI& uri) const {
    return findRow(m_patients, [&](const auto& patient) { return patient.uri() == uri; });
}

int PatientTableModel::rowOfId(const QString& patientId) const {
    return findRow(m_patients,
                   [&](const auto& patient) { return value(patient, "id") == patientId; });
}

int PatientTableModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_patients.size());
}

int PatientTableModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant PatientTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal)
        return {};
    if (role == Qt::TextAlignmentRole)
        return int(Qt::AlignLeft | Qt::AlignVCenter);
    const bool isNamed = role == Qt::ToolTipRole || role == Qt::AccessibleTextRole;
    if (isNamed && section == Mark)
        return tr("Current patient");
    if (role != Qt::DisplayRole)
        return {};
    const QString titles[] = {{}, tr("Id"), tr("Name"), tr("Sex"), tr("Born"), tr("Last changed")};
    return titles[section];
}

QVariant PatientTableModel::data(const QModelIndex& index, int role) const {
    const MetaInformation& shown = patient(index.row());
    if (role == Qt::FontRole && shown.uri() == m_current) {
        QFont bold;
        bold.setBold(true);
        return bold;
    }
    if (index.column() == Mark)
        return markData(shown, role);
    switch (role) {
    case SortRole:
        if (index.column() == Born)
            return birthDate(shown);
        if (index.column() == Changed)
            return changed(shown);
        return displayText(shown, index.column());
    case Qt::DisplayRole:
        return displayText(shown, index.column());
    case Qt::ToolTipRole:
        return vlr::plainToolTip(displayText(shown, index.column()));
    default:
        return {};
    }
}

QVariant PatientTableModel::markData(const MetaInformation& patient, int role) const {
    const bool isCurrent = patient.uri() == m_current;
    if (role == SortRole)
        return isCurrent ? 0 : 1;
    if (!isCurrent)
        return {};
    switch (role) {
    case Qt::DisplayRole:
        return QString(QChar(0x2713)); // a check mark, readable in the colours of any selection
    case Qt::TextAlignmentRole:
        return int(Qt::AlignCenter);
    case Qt::ToolTipRole:
    case Qt::AccessibleTextRole:
        return tr("Current patient");
    default:
        return {};
    }
}
