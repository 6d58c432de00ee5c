#pragma once

#include "vlrGuiExport.h"

#include "Log/vlrLog.h"

#include <QtCore/QAbstractListModel>

#include <deque>
#include <vector>

/// The lines of a log view, one row per line that is shown.
///
///     LogModel model;
///     model.append({{vlr::LogLevel::Warning, QStringLiteral("No tracker")}});
///     model.setLowestLevel(vlr::LogLevel::Error);      // no rows; the line is kept
///
/// It keeps at most limit() lines, whether shown or not. A full model forgets its oldest lines,
/// some per cent at a time, so that appending costs the same however full it is.
class VLR_GUI_EXPORT LogModel : public QAbstractListModel {
    Q_OBJECT

public:
    struct Line {
        vlr::LogLevel level;
        QString text; ///< Without line break.
    };
    static constexpr int defaultLimit = 200000;

    explicit LogModel(QObject* parent = nullptr);
    ~LogModel() override;

    /// The level that a line of a log states at its beginning ("WARNING ..."), else Info.
    static vlr::LogLevel levelOf(const QString& line);

    int limit() const { return m_limit; }
    void setLimit(int lines); ///< At least 1.
    int lineCount() const;    ///< Lines kept.

    /// Only lines of this gravity or a higher one are rows. The gravities are debug, information,
    /// warning and error; user levels count as what their name says.
    void setLowestLevel(vlr::LogLevel level);

    void append(const std::vector<Line>& lines);
    void clear();

    /// The number of rows, or 0 below a row.
    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    /// The line's text, also as tool tip.
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;

private:
    bool isShown(const Line& line) const;
    void makeRoomFor(std::size_t lines);
    void drop(std::size_t lines);

    std::deque<Line> m_lines;
    /// What row shows which line, counted from the first line ever appended.
    std::deque<std::size_t> m_rows;
    std::size_t m_dropped = 0; ///< Lines that are no longer kept.
    int m_limit = defaultLimit;
    vlr::LogLevel m_lowest = vlr::LogLevel::Debug;
};
