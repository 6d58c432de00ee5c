#include "DataUtils/QtDataConfigurationDialog.h"

#include "Data/Data.h"
#include "DataUtils/QtDataConfigurationWidget.h"
#include "DataUtils/QtDecoratedDataConfigurationWidget.h"

#include <QtWidgets/QVBoxLayout>

QtDataConfigurationDialog::QtDataConfigurationDialog(QtDataConfigurationWidget* widget,
                                                     QString* name, QWidget* parent,
                                                     Qt::WindowFlags flags)
    : QDialog(parent, flags),
      m_decorated(new QtDecoratedDataConfigurationWidget(widget, name, this)) {
    using Decorated = QtDecoratedDataConfigurationWidget;
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    (new QVBoxLayout(this))->addWidget(m_decorated);
    connect(m_decorated, &Decorated::accepted, this, &QDialog::accept);
    connect(m_decorated, &Decorated::rejected, this, &QDialog::reject);
    // A form says by its focus proxy where it is to be begun.
    if (widget && widget->focusProxy())
        widget->setFocus();
}

QtDataConfigurationDialog::~QtDataConfigurationDialog() = default;

void QtDataConfigurationDialog::setStoreFunction(std::function<CaError()> store) {
    m_decorated->setStoreFunction(std::move(store));
}
