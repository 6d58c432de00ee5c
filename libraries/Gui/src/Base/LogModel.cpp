#include "Base/LogModel.h"

#include "Base/PlainText.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>

namespace {

using vlr::LogLevel;

constexpr std::array<LogLevel, 8> levels = {
    LogLevel::Debug,   LogLevel::Info,     LogLevel::Warning,     LogLevel::Error,
    LogLevel::CaError, LogLevel::UserInfo, LogLevel::UserWarning, LogLevel::UserError};

int gravity(LogLevel level) {
    switch (level) {
    case LogLevel::Debug:
        return 0;
    case LogLevel::Info:
    case LogLevel::UserInfo:
        return 1;
    case LogLevel::Warning:
    case LogLevel::UserWarning:
        return 2;
    case LogLevel::Error:
    case LogLevel::CaError:
    case LogLevel::UserError:
        break;
    }
    return 3;
}

} // namespace

LogModel::LogModel(QObject* parent) : QAbstractListModel(parent) {}
LogModel::~LogModel() = default;

vlr::LogLevel LogModel::levelOf(const QString& line) {
    for (const LogLevel level : levels) {
        const QLatin1String name(vlr::toText(level));
        if (line.startsWith(name) &&
            (line.size() == name.size() || !line.at(name.size()).isLetterOrNumber()))
            return level;
    }
    return LogLevel::Info;
}

int LogModel::lineCount() const {
    return static_cast<int>(m_lines.size());
}

void LogModel::setLimit(int lines) {
    m_limit = std::max(lines, 1);
    makeRoomFor(0);
}

bool LogModel::isShown(const Line& line) const {
    return gravity(line.level) >= gravity(m_lowest);
}

void LogModel::setLowestLevel(LogLevel level) {
    if (level == m_lowest)
        return;
    beginResetModel();
    m_lowest = level;
    m_rows.clear();
    for (std::size_t i = 0; i < m_lines.size(); ++i)
        if (isShown(m_lines[i]))
            m_rows.push_back(m_dropped + i);
    endResetModel();
}

void LogModel::append(const std::vector<Line>& lines) {
    const std::size_t count = std::min(lines.size(), static_cast<std::size_t>(m_limit));
    const auto first = lines.end() - static_cast<std::ptrdiff_t>(count);
    makeRoomFor(count);
    const auto shown =
        std::count_if(first, lines.end(), [this](const Line& line) { return isShown(line); });
    if (shown > 0)
        beginInsertRows({}, rowCount(), rowCount() + static_cast<int>(shown) - 1);
    for (auto line = first; line != lines.end(); ++line) {
        if (isShown(*line))
            m_rows.push_back(m_dropped + m_lines.size());
        m_lines.push_back(*line);
    }
    if (shown > 0)
        endInsertRows();
}

// More than is needed, so that a full model does not drop a few lines with every few it gets.
void LogModel::makeRoomFor(std::size_t lines) {
    const auto limit = static_cast<std::size_t>(m_limit);
    if (m_lines.size() + lines > limit)
        drop(std::min(m_lines.size(), std::max(m_lines.size() + lines - limit, limit / 50)));
}

void LogModel::drop(std::size_t lines) {
    const auto firstKept = std::lower_bound(m_rows.begin(), m_rows.end(), m_dropped + lines);
    const auto rows = static_cast<int>(firstKept - m_rows.begin());
    if (rows > 0)
        beginRemoveRows({}, 0, rows - 1);
    m_rows.erase(m_rows.begin(), firstKept);
    m_lines.erase(m_lines.begin(), m_lines.begin() + static_cast<std::ptrdiff_t>(lines));
    m_dropped += lines;
    if (rows > 0)
        endRemoveRows();
}

void LogModel::clear() {
    beginResetModel();
    m_dropped += m_lines.size();
    m_lines.clear();
    m_rows.clear();
    endResetModel();
}

int LogModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

QVariant LogModel::data(const QModelIndex& index, int role) const {
    if ((role != Qt::DisplayRole && role != Qt::ToolTipRole) ||
        !checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const QString& text = m_lines[m_rows[static_cast<std::size_t>(index.row())] - m_dropped].text;
    if (role == Qt::DisplayRole)
        return text;
    return vlr::plainToolTip(text);
}
