#include "AppBase/Dialogs/QtAppBaseConfigWidget.h"

#include "AppBase/WindowShowMode.h"
#include "Log/vlrLog.h"
#include "Settings/vlrSettings.h"

#include <QtCore/QPointer>
#include <QtWidgets/QButtonGroup>
#include <QtWidgets/QCheckBox>
#include <QtWidgets/QColorDialog>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QGridLayout>
#include <QtWidgets/QGroupBox>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QShortcut>
#include <QtWidgets/QVBoxLayout>

namespace {

constexpr int pixmapSize = 128;
constexpr int iconSize = 40;

// As the setting has it.
QString nameOf(AppBaseConfig::ShowMode mode) {
    switch (mode) {
    case AppBaseConfig::Minimized:
        return QStringLiteral("minimized");
    case AppBaseConfig::Maximized:
        return QStringLiteral("maximized");
    case AppBaseConfig::FullScreen:
        return QStringLiteral("fullscreen");
    case AppBaseConfig::Normal:
        break;
    }
    return QStringLiteral("normal");
}

QString showModeSetting() {
    return vlr::windowShowMode.get().toLower();
}

} // namespace

QtAppBaseConfigWidget::QtAppBaseConfigWidget(Data* data, QString argument, QWidget* parent,
                                             Qt::WindowFlags flags)
    : QtDataConfigurationWidget(data, std::move(argument), parent, flags),
      m_config(dynamic_cast<AppBaseConfig*>(data)) {
    if (!m_config)
        return;
    auto* column = new QVBoxLayout(this);
    column->addWidget(createShowMode());
    column->addWidget(createColors());
    column->addWidget(createOptions());
    column->addStretch(1);
}

QtAppBaseConfigWidget::~QtAppBaseConfigWidget() = default;

QWidget* QtAppBaseConfigWidget::createShowMode() {
    auto* box = new QGroupBox(tr("Show Mode:"), this);
    m_showMode = new QComboBox(box);
    m_showMode->setAccessibleName(tr("Show Mode"));
    m_showMode->addItem(tr("Minimized"), AppBaseConfig::Minimized);
    m_showMode->addItem(tr("Normal"), AppBaseConfig::Normal);
    m_showMode->addItem(tr("Maximized"), AppBaseConfig::Maximized);
    m_showMode->addItem(tr("Full Screen"), AppBaseConfig::FullScreen);
    m_showMode->setCurrentIndex(m_showMode->findData(m_config->showMode()));
    // The title stays free of the mark of a key.
    m_showMode->setToolTip(showModeToolTip());
    connect(m_showMode, QOverload<int>::of(&QComboBox::activated), this,
            [this] { m_isShowModePicked = true; });
    auto* key = new QShortcut(tr("Alt+S"), this);
    connect(key, &QShortcut::activated, m_showMode,
            [this] { m_showMode->setFocus(Qt::ShortcutFocusReason); });
    (new QVBoxLayout(box))->addWidget(m_showMode);
    return box;
}

QString QtAppBaseConfigWidget::showModeToolTip() const {
    const QString text = tr("How the window is shown at the next start, and at once where that is "
                            "another mode (Alt+S)");
    const QString setting = showModeSetting();
    if (setting == nameOf(m_config->showMode()))
        return text;
    return text + QLatin1Char('\n') +
           tr("Until a mode is chosen here, the setting counts, which is \"%1\".").arg(setting);
}

bool QtAppBaseConfigWidget::isShowModeChosen() const {
    return m_isShowModePicked || m_showMode->currentData().toInt() != m_config->showMode();
}

QWidget* QtAppBaseConfigWidget::createColors() {
    const QString places[] = {
        tr("Colour of the upper left view"), tr("Colour of the upper right view"),
        tr("Colour of the lower left view"), tr("Colour of the lower right view")};
    auto* box = new QGroupBox(tr("Viewer Manipulation Button Colors:"), this);
    auto* grid = new QGridLayout(box);
    m_colorButtons = new QButtonGroup(this);
    for (int i = 0; i < QuadViewConfig::colorCount; ++i) {
        auto* button = new QPushButton(box);
        button->setIconSize({iconSize, iconSize});
        button->setAccessibleName(places[i]);
        const QString key = tr("Alt+%1").arg(i + 1);
        button->setShortcut(key);
        button->setToolTip(QStringLiteral("%1 (%2)").arg(places[i], key));
        m_colorButtons->addButton(button);
        grid->addWidget(button, i / 2, i % 2);
        m_colors[static_cast<std::size_t>(i)] =
            m_config->mainWindowConfig()->quadViewConfig()->resourceColor(i);
        showColor(i);
    }
    connect(m_colorButtons, QOverload<QAbstractButton*>::of(&QButtonGroup::buttonClicked), this,
            &QtAppBaseConfigWidget::colorButtonClicked);
    return box;
}

QWidget* QtAppBaseConfigWidget::createOptions() {
    auto* box = new QGroupBox(tr("Various Options:"), this);
    m_touchScreenMode = new QCheckBox(tr("Enable Touch Screen Mode"), box);
    m_touchScreenMode->setShortcut(tr("Alt+T"));
    m_touchScreenMode->setToolTip(tr("Larger buttons, and a column of layouts (Alt+T)"));
    m_touchScreenMode->setChecked(m_config->isTouchScreenModeEnabled());
    (new QVBoxLayout(box))->addWidget(m_touchScreenMode);
    return box;
}

void QtAppBaseConfigWidget::showColor(int index) {
    QPixmap pixmap(pixmapSize, pixmapSize);
    pixmap.fill(m_colors[static_cast<std::size_t>(index)]);
    m_colorButtons->buttons().at(index)->setIcon(pixmap);
}

void QtAppBaseConfigWidget::colorButtonClicked(QAbstractButton* button) {
    const int index = m_colorButtons->buttons().indexOf(button);
    if (index < 0)
        return;
    // The dialog around this widget may go while the user is choosing, and takes both along.
    const QPointer<QtAppBaseConfigWidget> self = this;
    QColor& color = m_colors[static_cast<std::size_t>(index)];
    const QPointer<QColorDialog> dialog = new QColorDialog(color, this);
    dialog->setWindowTitle(button->accessibleName());
    const bool isAccepted = dialog->exec() == QDialog::Accepted;
    if (!self || !dialog)
        return;
    const QColor chosen = dialog->selectedColor();
    delete dialog.data();
    if (!isAccepted || !chosen.isValid())
        return;
    color = chosen;
    showColor(index);
}

bool QtAppBaseConfigWidget::ok() {
    if (!m_config)
        return true;
    // Whoever hears of a change may take this widget away.
    const DataPointer<AppBaseConfig> config = m_config;
    const Qt::CheckState touchScreenMode = m_touchScreenMode->checkState();
    const auto showMode = static_cast<AppBaseConfig::ShowMode>(m_showMode->currentData().toInt());
    const auto colors = m_colors;
    CaError error;
    if (isShowModeChosen() && showModeSetting() != nameOf(showMode))
        error = vlr::Settings::set(vlr::windowShowMode.key(), nameOf(showMode));
    if (touchScreenMode != Qt::PartiallyChecked)
        config->setTouchScreenModeEnabled(touchScreenMode == Qt::Checked);
    config->notify(Data::CHANGED);
    config->setShowMode(showMode);
    config->notify(Data::CHANGED);
    const DataPointer<QuadViewConfig> quadView = config->mainWindowConfig()->quadViewConfig();
    for (int i = 0; i < QuadViewConfig::colorCount; ++i)
        quadView->setResourceColor(i, colors[static_cast<std::size_t>(i)]);
    if (error != CaError::nullError)
        VLR_LOG(UserError) << tr("The show mode could not be stored in the settings.")
                           << "\nReason: " << error.text();
    return true;
}
