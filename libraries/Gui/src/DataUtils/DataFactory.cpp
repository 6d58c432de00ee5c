#include "DataUtils/DataFactory.h"

#include "Data/Data.h"
#include "DataUtils/ItemName.h"
#include "DataUtils/QtDataConfigurationDialog.h"
#include "DataUtils/QtDataConfigurationWidget.h"

#include <QtCore/QPointer>

const char* const DataFactory::noConfigurationWidgetError =
    "DataFactory::noConfigurationWidgetError";
const char* const DataFactory::operationCanceledError = "DataFactory::operationCanceledError";
DataFactory* DataFactory::m_instance = nullptr;

namespace {

const char* const sourceFile = "libraries/Gui/src/DataUtils/DataFactory";

bool hasBits(int mask, int wanted) {
    return (mask & wanted) == wanted;
}

CaError errorWithId(const char* id) {
    return CaError(id, "", "", 0, 0);
}

} // namespace

// --- registrations

DataFactory::Registration::~Registration() = default;

void DataFactory::Registration::registerWidget(Registration* registration) {
    DataFactory::registerWidget(registration);
}

DataFactory::DataFactory() = default;
DataFactory::DataFactory(const DataFactory&) = default;
DataFactory::~DataFactory() = default;

void DataFactory::createInstance() {
    m_instance = new DataFactory;
}

DataFactory& DataFactory::instance() {
    if (!m_instance)
        createInstance();
    return *m_instance;
}

void DataFactory::registerWidget(Registration* registration) {
    if (!registration) {
        VLR_LOG(Error) << "A null registration of a data widget is ignored.";
        return;
    }
    instance().m_registrations[registration->name()] = registration;
}

// --- links

void DataFactory::linkDataToWidget(std::string dataClass, std::string widgetName,
                                   std::string description, int typeMask,
                                   std::string widgetArgument) {
    WidgetLink link;
    link.widgetName = std::move(widgetName);
    // It is the link's own description that is asked, which is still empty: what is listed are
    // class names, whatever description was given, and applications rely on that.
    if (link.description.empty())
        link.description = dataClass;
    else
        link.description = std::move(description);
    link.typeMask = typeMask;
    link.widgetArgument = std::move(widgetArgument);
    instance().m_links[dataClass] = link;
}

void linkDataToWidget(std::string dataClass, std::string widgetName, std::string description,
                      int typeMask, std::string widgetArgument) {
    DataFactory::linkDataToWidget(std::move(dataClass), std::move(widgetName),
                                  std::move(description), typeMask, std::move(widgetArgument));
}

bool DataFactory::isType(Data* data, int typeMask) {
    const DataFactory& factory = instance();
    if (!data)
        return false;
    const DataPointer<Data> held(data);
    bool result = false;
    for (const auto& [dataClass, link] : factory.m_links)
        result = result || (dataClass == data->getClassId() && hasBits(link.typeMask, typeMask));
    return result;
}

QStringList
DataFactory::list(int typeMask,
                  const std::function<std::string(const std::string&, const WidgetLink&)>& text) {
    QStringList result;
    for (const auto& [dataClass, link] : instance().m_links)
        if (hasBits(link.typeMask, typeMask))
            result << QString::fromStdString(text(dataClass, link));
    return result;
}

QStringList DataFactory::dataList(int typeMask) {
    return list(typeMask, [](const std::string& dataClass, const auto&) { return dataClass; });
}

QStringList DataFactory::dataDescriptionList(int typeMask) {
    return list(typeMask, [](const auto&, const WidgetLink& link) { return link.description; });
}

Data* DataFactory::dataInstance(QString classId) {
    return Data::createInstance(classId);
}

bool DataFactory::isValidId(QString id) {
    return vlr::isValidItemName(id);
}

// --- widgets

QtDataConfigurationWidget* DataFactory::configurationWidget(Data* data, QWidget* parent) {
    // Records that nobody edits are common, so this is only for who looks for the reason.
    return configurationWidget(data, parent, vlr::LogLevel::Info);
}

QtDataConfigurationWidget* DataFactory::configurationWidget(Data* data, QWidget* parent,
                                                            vlr::LogLevel levelWithoutLink) {
    DataFactory& factory = instance();
    if (!data)
        return nullptr;
    const std::string dataClass = data->getClassId().toStdString();
    const auto link = factory.m_links.find(dataClass);
    if (link == factory.m_links.end()) {
        if (factory.m_missing.insert({dataClass, levelWithoutLink}).second)
            vlr::LogStream(levelWithoutLink, sourceFile, __LINE__)
                << "No widget edits data of the class \"" << dataClass
                << "\": it was not linked with linkDataToWidget().";
        return nullptr;
    }
    const std::string& name = link->second.widgetName;
    const auto registration = factory.m_registrations.find(name);
    if (registration == factory.m_registrations.end()) {
        if (factory.m_missing.insert({name, vlr::LogLevel::Warning}).second)
            vlr::LogStream(vlr::LogLevel::Warning, sourceFile, __LINE__)
                << "Data of the class \"" << dataClass << "\" is linked to the widget \"" << name
                << "\", which was never registered: create" << name << "Factory() was not called.";
        return nullptr;
    }
    return registration->second->configurationWidget(
        data, QString::fromStdString(link->second.widgetArgument), parent);
}

CaError DataFactory::displayConfigurationDialog(Data* data, QString* name) {
    return displayConfigurationDialog(data, name, DialogOptions());
}

CaError DataFactory::displayConfigurationDialog(Data* data, QString* name,
                                                const DialogOptions& options) {
    if (!data)
        vlr::Log::getInstance("ERROR", sourceFile, __LINE__) << "Data is not defined";
    // Somebody wants to edit this.
    QtDataConfigurationWidget* const widget =
        configurationWidget(data, nullptr, vlr::LogLevel::Warning);
    if (!widget)
        return errorWithId(noConfigurationWidgetError);
    // The window that it belongs to may go while it is shown, and takes it along.
    const QPointer<QtDataConfigurationDialog> dialog =
        new QtDataConfigurationDialog(widget, name, options.parent, {});
    if (!options.title.isEmpty())
        dialog->setWindowTitle(options.title);
    dialog->setStoreFunction(options.store);
    const int result = dialog->exec();
    delete dialog.data();
    return result == QDialog::Accepted ? CaError::nullError : errorWithId(operationCanceledError);
}
