#pragma once

#include "vlrGuiExport.h"

#include <QtCore/QPointer>
#include <QtWidgets/QWidget>

#include <functional>

class CaError;
class QLineEdit;
class QtDataConfigurationWidget;
class QtMessageLine;
class QVBoxLayout;

/// An editing widget in its frame: above it a field for the item's name, where one is asked for,
/// below it the buttons.
///
///     auto* decorated = new QtDecoratedDataConfigurationWidget(widget, &name, dialog);
///     connect(decorated, &QtDecoratedDataConfigurationWidget::accepted, dialog, &QDialog::accept);
class VLR_GUI_EXPORT QtDecoratedDataConfigurationWidget : public QWidget {
    Q_OBJECT

public:
    /// Takes the widget over. `name` may be null; otherwise it must outlive this widget. A null
    /// widget is an "ERROR" in the log: the frame says that there is nothing to edit and can only
    /// be left by Cancel.
    QtDecoratedDataConfigurationWidget(QtDataConfigurationWidget* widget, QString* name,
                                       QWidget* parent, Qt::WindowFlags flags = {});
    ~QtDecoratedDataConfigurationWidget() override;

    /// Called by ok() when the data has what was entered; see DataFactory::DialogOptions.
    void setStoreFunction(std::function<CaError()> store);

signals:
    void accepted();
    void rejected();
    void finished(); ///< After either of the two.

public slots:
    void ok();
    void cancel(); ///< Does not call the widget's cancel().
    void defaults();

protected:
    bool event(QEvent* event) override;

private:
    void createNameField();
    void createButtons();
    bool takeName();
    bool takeData();
    static CaError store(const std::function<CaError()>& function);
    void showStoreError(const CaError& error);
    void makeRoom();

    QPointer<QtDataConfigurationWidget> m_widget;
    QLineEdit* m_nameEdit = nullptr;
    QString* m_name;
    QVBoxLayout* m_column;
    QtMessageLine* m_message;
    std::function<CaError()> m_store;
};
