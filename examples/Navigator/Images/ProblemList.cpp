#include "Images/ProblemList.h"

#include "Base/Icons.h"
#include "Base/PlainText.h"
#include "Base/QtMessageLine.h"

#include <QtCore/QFileInfo>

namespace {

constexpr int sliceRole = Qt::UserRole;
constexpr int mostEntries = 200;

} // namespace

ProblemList::ProblemList(QWidget* parent) : QListWidget(parent) {
    setWordWrap(true);
    setTextElideMode(Qt::ElideNone);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setResizeMode(QListView::Adjust);
    setAlternatingRowColors(true);
    connect(this, &QListWidget::itemActivated, this, [this](const QListWidgetItem* item) {
        if (item->data(sliceRole).isValid())
            emit sliceChosen(item->data(sliceRole).toInt());
    });
}

void ProblemList::showProblems(const vlr::ImageSeries& series) {
    clear();
    m_slices.clear();
    for (int slice = 0; slice < series.count(); ++slice)
        if (series.error(slice) != CaError::nullError)
            addProblem(series, slice, series.error(slice));
}

void ProblemList::addProblem(const vlr::ImageSeries& series, int slice, const CaError& error) {
    if (m_slices.contains(slice))
        return;
    m_slices.insert(slice);
    if (count() > mostEntries)
        return;
    if (count() == mostEntries) {
        addEntry(tr("There are more problems."), {});
        return;
    }
    // The reason names the whole path; there is room for the file's name only.
    const QString path = series.path(slice);
    const QString reason = QString::fromStdString(error.text());
    QString text = reason;
    text.replace(path, QFileInfo(path).fileName());
    addEntry(tr("Slice %1: %2").arg(slice + 1).arg(text), reason)->setData(sliceRole, slice);
}

void ProblemList::addText(const QString& text) {
    addEntry(text, text);
    scrollToBottom();
}

QListWidgetItem* ProblemList::addEntry(const QString& text, const QString& toolTip) {
    auto* item =
        new QListWidgetItem(vlr::icon(QStringLiteral("Warning")), vlr::breakable(text), this);
    item->setToolTip(vlr::plainToolTip(toolTip));
    return item;
}
