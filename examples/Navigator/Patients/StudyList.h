#pragma once

#include "Data/Study.h"
#include "Observer/CaSubject.h"

#include <QtWidgets/QListWidget>

/// The studies of the current patient; the current one is bold. What is chosen becomes current.
class StudyList : public QListWidget {
    Q_OBJECT

public:
    explicit StudyList(QWidget* parent = nullptr);

    void load();
    DataPointer<Study> selectedStudy() const; ///< Null without a selection.

    /// Few rows are enough where what stands around it needs the room.
    QSize sizeHint() const override { return {QListWidget::sizeHint().width(), 80}; }

private:
    void addStudy(const DataPointer<Study>& study);
    void makeCurrent();

    std::vector<DataPointer<Study>> m_studies; // In the order of the rows.
    std::vector<CaConnection> m_changes;
};
