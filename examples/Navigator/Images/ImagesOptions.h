#pragma once

#include "Data/ConfigurationRecord.h"

#include <QtCore/QStringList>

/// What the module "Images" remembers from one start to the next: the files and folders that were
/// open (none: the example images), whose they are, and the slice that was shown.
class ImagesOptions : public ConfigurationRecord<ImagesOptions> {
public:
    static constexpr const char* className = "NavigatorImagesOptions";

    const QStringList& paths() const { return m_paths; }
    /// Whose images they are, by ImagesOwner::storedName(); empty for nobody's.
    const QString& patient() const { return m_patient; }
    /// False when there are too many paths to be kept; none are kept then.
    bool setPaths(const QStringList& paths, const QString& patient);
    int slice() const { return m_slice; } ///< From 0; -1 when none was shown yet.
    void setSlice(int slice) { m_slice = slice; }
    bool opensLastImages() const { return m_opensLastImages; } ///< At the start.
    void setOpensLastImages(bool opens) { m_opensLastImages = opens; }

protected:
    ~ImagesOptions() override = default;
    CaError doSave(DataTreeNode* node, QMap<QString, QString>& references) const override;
    CaError doLoad(DataTreeNode* node, QMap<QString, Data*>& references) override;

private:
    friend struct RecordAccess;
    static constexpr auto attributes() {
        return std::make_tuple(attribute("m_slice", &ImagesOptions::m_slice, -1, 1000000),
                               attribute("m_opensLastImages", &ImagesOptions::m_opensLastImages),
                               attribute("m_patient", &ImagesOptions::m_patient));
    }

    int m_slice = -1;
    bool m_opensLastImages = true;
    QString m_patient;
    QStringList m_paths;
};

VLR_DECLARE_RECORD_FACTORY(ImagesOptions, )
