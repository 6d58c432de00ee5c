#include "Images/ImagesOptions.h"

VLR_DEFINE_RECORD_FACTORY(ImagesOptions)

namespace {

// A configuration file is small; what it may hold at most is bounded.
constexpr int mostPaths = 1000;
constexpr int mostCharacters = 400000;

QString pathName(int index) {
    return QStringLiteral("m_path") + QString::number(index);
}

} // namespace

bool ImagesOptions::setPaths(const QStringList& paths, const QString& patient) {
    const bool fits = paths.size() <= mostPaths && paths.join(QString()).size() <= mostCharacters;
    m_paths = fits ? paths : QStringList();
    m_patient = fits ? patient : QString();
    return fits;
}

CaError ImagesOptions::doSave(DataTreeNode* node, QMap<QString, QString>& references) const {
    const CaError error = ConfigurationRecord<ImagesOptions>::doSave(node, references);
    if (error != CaError::nullError)
        return error;
    for (int i = 0; i < m_paths.size(); ++i)
        vlr::writeAttribute(*node, pathName(i), m_paths.at(i));
    return CaError::nullError;
}

CaError ImagesOptions::doLoad(DataTreeNode* node, QMap<QString, Data*>& references) {
    const CaError error = ConfigurationRecord<ImagesOptions>::doLoad(node, references);
    if (error != CaError::nullError)
        return error;
    m_paths.clear();
    QString path;
    while (m_paths.size() < mostPaths &&
           vlr::readAttribute(*node, pathName(m_paths.size()), path) == CaError::nullError)
        m_paths << path;
    return CaError::nullError;
}
