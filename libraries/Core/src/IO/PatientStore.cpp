#include "IO/PatientStore.h"

#include "IO/SqlPatientStore.h"

#include <QtCore/QUrl>

namespace vlr {

const char* const PatientStore::unknownPatientError = "PatientStore::unknownPatient";

PatientStore::~PatientStore() = default;

std::unique_ptr<PatientStore> PatientStore::open(const QString& text, CaError& error) {
    const QUrl url(text);
    if (url.scheme() == QLatin1String("sqlite") || url.scheme() == QLatin1String("postgresql"))
        return SqlPatientStore::open(url, error);
    error = CaError("PatientStore::unknownScheme",
                    "The patient repository \"" + url.toString(QUrl::RemovePassword).toStdString() +
                        "\" is neither \"sqlite:\" nor \"postgresql:\".");
    return nullptr;
}

} // namespace vlr
