#pragma once

#include "Data/Patient.h"

#include <QtWidgets/QStackedWidget>

class QLabel;
class QListView;
class QtScreenShotData;
class ScreenshotModel;
class ScreenshotPage;

/// The screenshots of a patient as thumbnails, one of them over the whole area, or a text where
/// there are none.
class ReviewView : public QStackedWidget {
    Q_OBJECT

public:
    explicit ReviewView(QWidget* parent = nullptr);

    /// The patient's tree as it is now; who is selected stays selected, and opened stays opened.
    void showPatient(const DataPointer<Patient>& patient);
    /// The one that is open, or else the selected one; null where there is none.
    DataPointer<QtScreenShotData> selected() const;
    int count() const;
    void open();  ///< The selected one over the whole area.
    void close(); ///< Back to the thumbnails.
    void takeFocus();

signals:
    void selectionChanged();
    void deleteRequested();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void createList();
    void select(const QModelIndex& index);
    void showSuitablePage(const DataPointer<Patient>& patient);

    ScreenshotModel* m_model;
    QListView* m_list = nullptr;
    ScreenshotPage* m_page;
    QLabel* m_note;
};
