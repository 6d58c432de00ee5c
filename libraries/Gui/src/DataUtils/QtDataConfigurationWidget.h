#pragma once

#include "Data/DataPointer.h"
#include "Error/CaError.h"
#include "vlrGuiExport.h"

#include <QtWidgets/QWidget>

#include <memory>

class Data;
class WheelGuard;

/// The base of every widget that edits or loads data. Nothing is written to the data before
/// ok().
///
///     class QtProbeWidget : public QtDataConfigurationWidget {
///         Q_OBJECT
///     public:
///         QtProbeWidget(Data* data, QString argument, QWidget* parent, Qt::WindowFlags flags);
///         bool ok() override;
///     };
///     VLR_REGISTER_DATA_WIDGET(QtProbeWidget, VLR_GUI_EXPORT)
///
/// The widget holds a reference on its data for as long as it lives. Its fields answer to the
/// mouse wheel only while they have the focus; see WheelGuard.
class VLR_GUI_EXPORT QtDataConfigurationWidget : public QWidget {
    Q_OBJECT

public:
    /// The argument is that of the link in the DataFactory.
    QtDataConfigurationWidget(Data* data, QString argument, QWidget* parent, Qt::WindowFlags flags);
    ~QtDataConfigurationWidget() override;

    /// Writes what was entered to the data. False, after telling the user why, keeps the dialog
    /// open.
    virtual bool ok() = 0;
    virtual void cancel();
    virtual bool canSaveAsDefault();
    virtual void saveAsDefault(); ///< Keeps what is entered as the values of new items.
    /// Says beside the field that it concerns why the entered values could not be stored, and
    /// offers a remedy where there is one. False, as from the base class, leaves it to the dialog.
    /// The null error takes back what was said before.
    virtual bool showStoreError(const CaError& error);

protected:
    friend class QtDecoratedDataConfigurationWidget;

    Data* data() const { return m_data.get(); }
    const QString& argument() const { return m_argument; }
    DataPointer<Data> configuration() const; ///< Null.
    void setConfiguration(Data* configuration);
    /// To be called by saveAsDefault(): what the frame tells the user of the result.
    void setDefaultsError(const CaError& error) { m_defaultsError = error; }

private:
    DataPointer<Data> m_data;
    QString m_argument;
    CaError m_defaultsError;
    std::unique_ptr<WheelGuard> m_wheelGuard; ///< Not a child, of which an empty form has none.
};
