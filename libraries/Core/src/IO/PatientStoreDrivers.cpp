// Which class serves which URL. It knows the classes, and they know PatientStore.

#include "IO/PatientStore.h"
#include "IO/ServerAddress.h"
#include "IO/SqlPatientStore.h"

namespace vlr {

const char* const PatientStore::unknownPatientError = "PatientStore::unknownPatient";
const char* const PatientStore::nothingYetError = "PatientStore::nothingYet";

PatientStore::~PatientStore() = default;

namespace {

template <class Open>
std::unique_ptr<PatientStore> openBy(Open open, const QString& text, CaError& error) {
    // A URL that cannot be understood has a scheme all the same.
    const QString scheme = text.section(QLatin1Char(':'), 0, 0);
    if (scheme == QLatin1String("sqlite") || scheme == QLatin1String("postgresql"))
        return open(text, error);
    error = CaError("PatientStore::unknownScheme",
                    "The patient repository \"" + ServerAddress::shown(text).toStdString() +
                        "\" is neither \"sqlite:\" nor \"postgresql:\".");
    return nullptr;
}

} // namespace

std::unique_ptr<PatientStore> PatientStore::open(const QString& text, CaError& error) {
    return openBy(&SqlPatientStore::open, text, error);
}

std::unique_ptr<PatientStore> PatientStore::look(const QString& text, CaError& error) {
    return openBy(&SqlPatientStore::look, text, error);
}

std::string PatientStore::whyUnprotected(const QString& url) {
    ServerAddress address;
    return url.startsWith(QLatin1String("postgresql:")) &&
                   ServerAddress::read(url, address) == CaError::nullError
               ? address.whyUnprotected()
               : std::string();
}

} // namespace vlr
