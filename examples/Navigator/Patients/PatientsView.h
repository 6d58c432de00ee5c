#pragma once

#include "Error/CaError.h"
#include "Files/vlrURI.h"

#include <QtWidgets/QWidget>

class QtMessageLine;
class PatientTableModel;
class QLabel;
class QLineEdit;
class QSortFilterProxyModel;
class QStackedWidget;
class QTableView;

/// The list of the stored patients with a line to search it. In the place of the list stands the
/// reason when the repository cannot be read.
class PatientsView : public QWidget {
    Q_OBJECT

public:
    explicit PatientsView(QWidget* parent = nullptr);

    void load(); ///< Reads the list again; the selection stays with its patient.
    void select(const vlr::URI& uri);
    void selectId(const QString& patientId);
    vlr::URI selectedPatient() const; ///< Not valid: nothing is selected.
    void setCurrentPatient(const vlr::URI& uri);
    void showMessage(const QString& text); ///< Above the list, until something else is done.

signals:
    void selectionChanged();
    void makeCurrentRequested(); ///< Of the selected patient.

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void createTable();
    QWidget* createErrorPage();
    QWidget* createEmptyPage();
    QLayout* createSearchLine();
    void showError(const CaError& error);
    void selectRow(int sourceRow);
    void updateCount();

    PatientTableModel* m_model;
    QSortFilterProxyModel* m_sorted;
    QTableView* m_table = nullptr;
    QLineEdit* m_search = nullptr;
    QLabel* m_count = nullptr;
    QtMessageLine* m_message = nullptr;
    QStackedWidget* m_pages = nullptr;
    QWidget* m_emptyPage = nullptr;
    QWidget* m_errorPage = nullptr;
    QLabel* m_reason = nullptr;
};
