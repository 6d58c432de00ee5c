#pragma once

#include "Error/CaError.h"
#include "Log/vlrLog.h"
#include "vlrGuiExport.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <functional>
#include <map>
#include <set>
#include <string>
#include <utility>

class Data;
class QtDataConfigurationWidget;
class QWidget;

/// Knows which widget edits data of which class, and shows it.
///
///     createQtPatientConfigurationWidgetFactory();                       // the widget exists
///     DataFactory::linkDataToWidget("Patient", "QtPatientConfigurationWidget", "", 1, "");
///     DataFactory::DialogOptions options;
///     options.parent = window;
///     options.store = [&] { return DataIOManager::storePatient(patient); };
///     CaError error = DataFactory::displayConfigurationDialog(patient.get(), nullptr, options);
///
/// Two tables: the registered widgets by class name, and the links from a class of data to the
/// name of the widget that edits it. Data gets a widget when both entries are there, in whatever
/// order they were made. Classes are matched exactly; a derived class needs a link of its own.
/// GUI thread only.
class VLR_GUI_EXPORT DataFactory {
public:
    /// Builds the widgets of one class; DataWidgetRegistration.h has one for every class.
    class VLR_GUI_EXPORT Registration {
    public:
        virtual ~Registration();
        /// The class name of the widget, under which it is registered.
        virtual std::string name() const = 0;
        /// A new widget; the caller owns it.
        virtual QtDataConfigurationWidget* configurationWidget(Data* data, QString argument,
                                                               QWidget* parent) = 0;

    protected:
        Registration() = default;
        Registration(const Registration&) = default;
        Registration& operator=(const Registration&) = default;
        void registerWidget(Registration* registration);
    };

    /// What a caller may add to the dialog.
    struct DialogOptions {
        QString title;
        QWidget* parent = nullptr; ///< The window that the dialog belongs to.
        /// Called when the user accepts and the data has what was entered. An error keeps the
        /// dialog open with everything typed in it, is told there, and the values of the data
        /// (not those of its children) are again what they were.
        std::function<CaError()> store;
    };

    /// The type of configuration records, the one that the library itself uses.
    static constexpr int configurationRecord = 4;

    /// What displayConfigurationDialog() answers: there is no widget for the data, or the dialog
    /// was left without accepting.
    static const char* const noConfigurationWidgetError;
    static const char* const operationCanceledError;

    DataFactory& operator=(const DataFactory&) = default;
    virtual ~DataFactory();

    /// Does not take the registration over. A later one of the same name replaces the first. Null
    /// is an "ERROR" in the log and nothing else.
    static void registerWidget(Registration* registration);
    /// Makes or replaces the link of the class. The description is accepted but the name of the
    /// class is what is kept. The other bits of the mask than
    /// configurationRecord belong to the application. The argument is passed to every widget made
    /// for the class.
    static void linkDataToWidget(std::string dataClass, std::string widgetName,
                                 std::string description, int typeMask, std::string widgetArgument);

    /// A new widget that edits the data, owned by the caller; null for null data, for a class
    /// without link and where the widget of the link was never registered. What is missing stands
    /// in the log, once: a link as "INFO", since not all data is edited, a widget as "WARNING".
    static QtDataConfigurationWidget* configurationWidget(Data* data, QWidget* parent);
    /// Lets the user edit the data in a modal dialog. With a name he edits that as well; it comes
    /// back with every white-space character as "_". The null error when he accepted. A class
    /// without link is a "WARNING" in the log.
    static CaError displayConfigurationDialog(Data* data, QString* name);
    static CaError displayConfigurationDialog(Data* data, QString* name,
                                              const DialogOptions& options);

    /// Whether the class of the data is linked with at least the bits of the mask.
    static bool isType(Data* data, int typeMask);
    /// The linked classes with at least the bits of the mask, in the order of their names.
    static QStringList dataList(int typeMask);
    static QStringList dataDescriptionList(int typeMask); ///< Of the same classes.

    static Data* dataInstance(QString classId); ///< As Data::createInstance().
    static bool isValidId(QString id);          ///< Every id is.

private:
    struct WidgetLink {
        std::string widgetName;
        std::string description;
        std::string widgetArgument;
        int typeMask = 0;
    };

    DataFactory();
    DataFactory(const DataFactory&);
    static DataFactory& instance();
    static void createInstance();
    static QtDataConfigurationWidget* configurationWidget(Data* data, QWidget* parent,
                                                          vlr::LogLevel levelWithoutLink);
    static QStringList
    list(int typeMask,
         const std::function<std::string(const std::string&, const WidgetLink&)>& text);

    static DataFactory* m_instance;

    std::map<std::string, WidgetLink> m_links;
    std::map<std::string, Registration*> m_registrations;
    std::set<std::pair<std::string, vlr::LogLevel>> m_missing; ///< Said in the log already.
};

/// The same as the function of the factory.
VLR_GUI_EXPORT void linkDataToWidget(std::string dataClass, std::string widgetName,
                                     std::string description, int typeMask,
                                     std::string widgetArgument);
