#include "Base/QtTextEditLogger.h"

#include <QtCore/QTime>
#include <QtGui/QClipboard>
#include <QtGui/QFontDatabase>
#include <QtGui/QGuiApplication>
#include <QtWidgets/QAction>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QLabel>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QScrollBar>
#include <QtWidgets/QTableView>

#include <algorithm>
#include <deque>
#include <mutex>

namespace {

constexpr std::size_t mostWaiting = LogModel::defaultLimit;
constexpr int widestColumn = 2000; // characters
constexpr int columnMargin = 20;   // pixels

struct Choice {
    const char* name;
    vlr::LogLevel level;
};

constexpr Choice choices[] = {
    {QT_TRANSLATE_NOOP("QtTextEditLogger", "Debug"), vlr::LogLevel::Debug},
    {QT_TRANSLATE_NOOP("QtTextEditLogger", "Information"), vlr::LogLevel::Info},
    {QT_TRANSLATE_NOOP("QtTextEditLogger", "Warning"), vlr::LogLevel::Warning},
    {QT_TRANSLATE_NOOP("QtTextEditLogger", "Error"), vlr::LogLevel::Error},
};

// One row per line of the record; those after the first are indented.
std::vector<LogModel::Line> linesOf(const vlr::LogRecord& record) {
    QString prefix = QTime::currentTime().toString(QStringLiteral("hh:mm:ss.zzz ")) +
                     QLatin1String(vlr::toText(record.level)) + QLatin1Char(' ');
    std::vector<LogModel::Line> lines;
    for (const QString& text : QString::fromStdString(record.text).split(QLatin1Char('\n'))) {
        lines.push_back({record.level, prefix + text});
        prefix = QStringLiteral("    ");
    }
    return lines;
}

} // namespace

// Lines on their way to the widget, which may be destroyed while another thread delivers.
class QtTextEditLogger::Inbox {
public:
    explicit Inbox(QtTextEditLogger* owner) : m_owner(owner) {}

    void close() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_owner = nullptr;
    }

    void put(std::vector<LogModel::Line> lines) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_owner)
            return;
        if (m_lines.empty())
            QMetaObject::invokeMethod(m_owner, &QtTextEditLogger::showArrived,
                                      Qt::QueuedConnection);
        std::move(lines.begin(), lines.end(), std::back_inserter(m_lines));
        if (m_lines.size() > mostWaiting) // The GUI thread is busy; the oldest would go anyway.
            m_lines.erase(m_lines.begin(),
                          m_lines.end() - static_cast<std::ptrdiff_t>(mostWaiting));
    }

    std::vector<LogModel::Line> takeAll() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        std::vector<LogModel::Line> lines(std::make_move_iterator(m_lines.begin()),
                                          std::make_move_iterator(m_lines.end()));
        m_lines.clear();
        return lines;
    }

private:
    std::mutex m_mutex;
    QtTextEditLogger* m_owner;
    std::deque<LogModel::Line> m_lines;
};

QtTextEditLogger::QtTextEditLogger(QWidget* parent)
    : QWidget(parent), std::ostream(nullptr), m_buffer(std::make_unique<__QtLoggersStreambuf>()),
      m_model(new LogModel(this)), m_view(new QTableView(this)),
      m_inbox(std::make_shared<Inbox>(this)) {
    rdbuf(m_buffer.get());
    connect(m_buffer.get(), &__QtLoggersStreambuf::syncSI, this, &QtTextEditLogger::syncSL);
    createView();
    createInterface();
}

QtTextEditLogger::~QtTextEditLogger() {
    follow(false);
    m_inbox->close();
}

void QtTextEditLogger::createInterface() {
    auto* level = new QComboBox(this);
    for (const Choice& choice : choices)
        level->addItem(tr(choice.name));
    connect(level, QOverload<int>::of(&QComboBox::currentIndexChanged), this, [this](int index) {
        m_model->setLowestLevel(choices[index].level);
        m_view->scrollToBottom();
    });
    auto* label = new QLabel(tr("&Lowest level:"), this);
    label->setBuddy(level);
    auto* clearButton = new QPushButton(tr("&Clear"), this);
    connect(clearButton, &QPushButton::clicked, this, &QtTextEditLogger::clear);

    auto* bar = new QHBoxLayout;
    bar->addWidget(label);
    bar->addWidget(level);
    bar->addStretch();
    bar->addWidget(clearButton);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(bar);
    layout->addWidget(m_view);
}

// A table of one column: a list view measures all its rows again for every line that arrives.
void QtTextEditLogger::createView() {
    m_view->setModel(m_model);
    m_view->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    m_view->setAccessibleName(tr("Log"));
    m_view->setShowGrid(false);
    m_view->setTabKeyNavigation(false);
    m_view->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_view->setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    m_view->horizontalHeader()->hide();
    m_view->horizontalHeader()->setStretchLastSection(true);
    m_view->verticalHeader()->hide();
    m_view->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    m_view->verticalHeader()->setDefaultSectionSize(m_view->fontMetrics().lineSpacing() + 2);

    auto* copy = new QAction(tr("Copy"), m_view);
    copy->setShortcut(QKeySequence::Copy);
    copy->setShortcutContext(Qt::WidgetShortcut);
    connect(copy, &QAction::triggered, this, &QtTextEditLogger::copySelection);
    m_view->addAction(copy);
    m_view->setContextMenuPolicy(Qt::ActionsContextMenu);

    QScrollBar* bar = m_view->verticalScrollBar();
    connect(bar, &QScrollBar::valueChanged, this,
            [this, bar](int value) { m_atEnd = value >= bar->maximum(); });
    connect(bar, &QScrollBar::rangeChanged, this, [this, bar](int, int maximum) {
        if (m_atEnd)
            bar->setValue(maximum);
    });
}

void QtTextEditLogger::follow(bool on) {
    if (on == (m_listener != 0))
        return;
    if (on) {
        m_listener = vlr::Log::addListener(
            [inbox = m_inbox](const vlr::LogRecord& record) { inbox->put(linesOf(record)); });
    } else {
        vlr::Log::removeListener(m_listener);
        m_listener = 0;
    }
}

void QtTextEditLogger::syncSL() {
    QString text = m_buffer->take();
    if (text.endsWith(QLatin1Char('\n')))
        text.chop(1);
    else if (text.isEmpty())
        return;
    std::vector<LogModel::Line> lines;
    for (const QString& line : text.split(QLatin1Char('\n')))
        lines.push_back({LogModel::levelOf(line), line});
    m_inbox->put(std::move(lines));
}

void QtTextEditLogger::clear() {
    m_inbox->takeAll();
    m_model->clear();
    m_view->setColumnWidth(0, 0);
    m_atEnd = true;
}

void QtTextEditLogger::showArrived() {
    const std::vector<LogModel::Line> lines = m_inbox->takeAll();
    if (lines.empty())
        return;
    // Who reads further up shall not lose the place when old lines go.
    const QPersistentModelIndex top =
        m_atEnd ? QModelIndex() : m_view->indexAt(m_view->viewport()->rect().topLeft());
    m_model->append(lines);
    fitColumn(lines);
    if (top.isValid())
        m_view->scrollTo(top, QAbstractItemView::PositionAtTop);
}

void QtTextEditLogger::fitColumn(const std::vector<LogModel::Line>& lines) {
    const auto longest =
        std::max_element(lines.begin(), lines.end(), [](const auto& a, const auto& b) {
            return a.text.size() < b.text.size();
        });
    const int wanted =
        m_view->fontMetrics().horizontalAdvance(longest->text.left(widestColumn)) + columnMargin;
    if (wanted > m_view->columnWidth(0))
        m_view->setColumnWidth(0, wanted);
}

void QtTextEditLogger::copySelection() const {
    QModelIndexList selected = m_view->selectionModel()->selectedIndexes();
    std::sort(selected.begin(), selected.end());
    QStringList lines;
    for (const QModelIndex& index : selected)
        lines << index.data().toString();
    if (!lines.isEmpty())
        QGuiApplication::clipboard()->setText(lines.join(QLatin1Char('\n')));
}
