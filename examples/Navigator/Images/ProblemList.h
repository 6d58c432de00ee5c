#pragma once

#include "Error/CaError.h"
#include "Image/ImageSeries.h"

#include <QtCore/QSet>
#include <QtWidgets/QListWidget>

/// The images that cannot be shown, with the reasons. A problem of a slice leads to that slice.
class ProblemList : public QListWidget {
    Q_OBJECT

public:
    explicit ProblemList(QWidget* parent = nullptr);

    void showProblems(const vlr::ImageSeries& series); ///< In place of all others.
    void addProblem(const vlr::ImageSeries& series, int slice, const CaError& error);
    void addText(const QString& text);

signals:
    void sliceChosen(int slice);

private:
    QListWidgetItem* addEntry(const QString& text, const QString& toolTip);

    QSet<int> m_slices;
};
