#include "IO/IOManager.h"

#include "Data/PartStorage.h"
#include "Files/DurableFile.h"
#include "IO/DataIOManager.h"
#include "IO/PatientStore.h"

#include <utility>

namespace {

CaError unsupported(const vlr::URI& uri) {
    return CaError("IOManager::unsupported",
                   "\"" + uri.toString().toStdString() + "\" does not name a file or binary part.");
}

bool isPart(const vlr::URI& uri) {
    return uri.isPatient() && !uri.partName().isEmpty();
}

// What items ask for the bytes of their parts.
class RepositoryParts : public vlr::PartStorage {
public:
    RepositoryParts() { provide(*this); }

    CaError read(const vlr::URI& part, QByteArray& bytes) override {
        return IOManager::read(part, bytes);
    }
    CaError write(const vlr::URI& part, const QByteArray& bytes) override {
        return IOManager::write(part, bytes);
    }
};

RepositoryParts repositoryParts;

} // namespace

IOManager::PartsElsewhere* IOManager::s_elsewhere = nullptr;

IOManager::PartsElsewhere::PartsElsewhere(Take take)
    : m_take(std::move(take)), m_former(std::exchange(s_elsewhere, this)) {}

IOManager::PartsElsewhere::~PartsElsewhere() {
    s_elsewhere = m_former;
}

CaError IOManager::read(const vlr::URI& uri, QByteArray& bytes) {
    if (uri.isFile())
        return vlr::readWhole(uri.filePath(), limit, bytes);
    if (!isPart(uri))
        return unsupported(uri);
    CaError error;
    vlr::PatientStore* store = DataIOManager::repository(error);
    if (!store)
        return error;
    const auto read = [&] {
        return store->readPart(uri.patientUid(), uri.itemKey(), uri.partName(), limit, bytes);
    };
    error = read();
    // What was renamed can still be read, but not what was disconnected.
    if (error == CaError::nullError || !store->isTakenAway())
        return error;
    store = DataIOManager::currentRepository(error);
    return store ? read() : error;
}

CaError IOManager::write(const vlr::URI& uri, const QByteArray& bytes) {
    if (bytes.size() > limit)
        return CaError("IOManager::tooLarge", "\"" + uri.toString().toStdString() +
                                                  "\" would have " + std::to_string(bytes.size()) +
                                                  " bytes, more than " + std::to_string(limit) +
                                                  '.');
    if (uri.isFile())
        return vlr::writeDurably(uri.filePath(), bytes);
    if (!isPart(uri))
        return unsupported(uri);
    if (s_elsewhere)
        return s_elsewhere->m_take(uri, bytes);
    CaError error;
    vlr::PatientStore* store = DataIOManager::repository(error);
    if (!store)
        return error;
    return store->writePart(uri.patientUid(), uri.itemKey(), uri.partName(), bytes);
}
