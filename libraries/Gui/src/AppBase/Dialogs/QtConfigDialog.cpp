#include "AppBase/Dialogs/QtConfigDialog.h"

#include "AppBase/Dialogs/QtAboutDialog.h"
#include "AppBase/QtAppModule.h"
#include "AppBase/QtAppModuleProxy.h"
#include "AppBase/QtModuleList.h"
#include "DataUtils/DataFactory.h"
#include "DataUtils/QtDataConfigurationWidget.h"

#include <QtCore/QPointer>
#include <QtGui/QScreen>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QTabBar>
#include <QtWidgets/QTabWidget>
#include <QtWidgets/QVBoxLayout>

#include <algorithm>

namespace {

bool hasSlot(const QObject* object, const char* signature) {
    return object->metaObject()->indexOfSlot(signature) >= 0;
}

} // namespace

QtConfigDialog::QtConfigDialog(DataPointer<AppBaseConfig> config, QtModuleList* moduleList,
                               QWidget* parent)
    : QDialog(parent), m_tabs(new QTabWidget(this)) {
    setWindowTitle(tr("Configuration"));
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    if (config)
        addTab(config.get(), tr("Application Configuration"));
    if (moduleList)
        addModuleTabs(*moduleList);
    // Made after the fields, they are reached after them.
    createButtons();
    showAllTitles();
    focusFirstField();
}

QtConfigDialog::~QtConfigDialog() = default;

void QtConfigDialog::createButtons() {
    m_about = new QPushButton(tr("About"), this);
    m_cancel = new QPushButton(tr("Cancel"), this);
    m_ok = new QPushButton(tr("Ok"), this);
    m_about->setObjectName(QStringLiteral("about"));
    m_cancel->setObjectName(QStringLiteral("cancel"));
    m_ok->setObjectName(QStringLiteral("ok"));
    m_about->setShortcut(tr("Alt+A"));
    m_about->setToolTip(tr("Version and build of this program (Alt+A)"));
    m_ok->setDefault(true);
    auto* row = new QHBoxLayout;
    row->addStretch(1);
    row->addWidget(m_about);
    row->addWidget(m_cancel);
    row->addWidget(m_ok);
    auto* column = new QVBoxLayout(this);
    column->addWidget(m_tabs);
    column->addLayout(row);
    connect(m_about, &QPushButton::clicked, this, &QtConfigDialog::showAboutDialog);
    connect(m_cancel, &QPushButton::clicked, this, &QtConfigDialog::reject);
    connect(m_ok, &QPushButton::clicked, this, &QtConfigDialog::accept);
    for (int i = 0; i < m_tabs->count(); ++i)
        connectByName(m_tabs->widget(i));
}

void QtConfigDialog::addModuleTabs(const QtModuleList& moduleList) {
    const QtAppModuleProxy* const proxy = moduleList.currentModuleProxy();
    if (!proxy || !proxy->module())
        return;
    const QString name = proxy->module()->name();
    addTab(proxy->moduleGeneralOptions().get(), name + tr(" General Options"));
    addTab(proxy->moduleConfiguration().get(), name + tr(" Configuration"));
}

void QtConfigDialog::addTab(Data* record, const QString& title) {
    QtDataConfigurationWidget* const widget = DataFactory::configurationWidget(record, nullptr);
    if (!widget)
        return;
    // In a tab's title an ampersand would mark a key.
    m_tabs->addTab(widget, QString(title).replace(QLatin1Char('&'), QStringLiteral("&&")));
}

void QtConfigDialog::connectByName(const QObject* widget) const {
    // By name, since a widget may declare these operations as slots or not; one that does is
    // called a second time.
    if (hasSlot(widget, "ok()"))
        connect(m_ok, SIGNAL(clicked()), widget, SLOT(ok()));
    if (hasSlot(widget, "cancel()"))
        connect(m_cancel, SIGNAL(clicked()), widget, SLOT(cancel()));
}

// The reason makes styles show where the focus is.
void QtConfigDialog::focusFirstField() {
    const QWidget* const page = m_tabs->currentWidget();
    if (!page)
        return;
    for (QWidget* next = page->nextInFocusChain(); next != page; next = next->nextInFocusChain())
        if (page->isAncestorOf(next) && (next->focusPolicy() & Qt::TabFocus) && next->isEnabled() &&
            !next->isHidden()) {
            next->setFocus(Qt::TabFocusReason);
            return;
        }
}

// As far as the screen has room for them.
void QtConfigDialog::showAllTitles() {
    const QMargins margins = layout()->contentsMargins();
    const int wanted = m_tabs->tabBar()->sizeHint().width() + margins.left() + margins.right();
    const int available = screen()->availableGeometry().width() * 3 / 4;
    const QSize hint = sizeHint();
    resize(std::max(hint.width(), std::min(wanted, available)), hint.height());
}

// What is written to one record may take widgets of others away, and the dialog too. False then.
template <class Call>
bool QtConfigDialog::forEachTab(Call call) const {
    const QPointer<const QtConfigDialog> self = this;
    QList<QPointer<QtDataConfigurationWidget>> widgets;
    for (int i = 0; i < m_tabs->count(); ++i)
        widgets << qobject_cast<QtDataConfigurationWidget*>(m_tabs->widget(i));
    for (const auto& widget : widgets)
        if (widget)
            call(*widget);
    return self;
}

void QtConfigDialog::accept() {
    if (forEachTab([](QtDataConfigurationWidget& widget) { (void)widget.ok(); }))
        QDialog::accept();
}

void QtConfigDialog::reject() {
    if (forEachTab([](QtDataConfigurationWidget& widget) { widget.cancel(); }))
        QDialog::reject();
}

void QtConfigDialog::showAboutDialog() {
    const QPointer<QtAboutDialog> dialog = new QtAboutDialog(this);
    dialog->exec();
    delete dialog.data();
}
