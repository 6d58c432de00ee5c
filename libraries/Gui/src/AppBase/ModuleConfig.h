#pragma once

#include "Base/QuadViewGeometry.h"
#include "Data/ConfigurationRecord.h"
#include "vlrGuiExport.h"

#include <QtCore/QSize>

#include <vector>

/// The options every module has: the layouts of the four views, called dimension sets, that the
/// module offers in touch-screen mode.
///
///     QSize r0, r1, r2, r3;
///     config->resourceDimensions(0, r0, r1, r2, r3);
///
/// Sizes are per-mille of the quad view's width and height, in pane order 0 to 3. A set that was
/// never stored holds invalid sizes. A new record has 5 such sets.
class VLR_GUI_EXPORT ModuleConfig : public ConfigurationRecord<ModuleConfig> {
public:
    static constexpr const char* className = "ModuleConfig";

    int noDimensionSets() const { return static_cast<int>(m_sets.size()); }
    /// Keeps the sizes of the sets that stay; new sets hold invalid sizes. A negative number
    /// changes nothing. Notifies CHANGED in every case.
    void setNoDimensionSets(int count);

    /// An index out of range is ignored. Otherwise notifies CHANGED.
    void setResourceDimensions(int set, const QSize& size0, const QSize& size1, const QSize& size2,
                               const QSize& size3);
    /// An index out of range leaves the outputs alone.
    void resourceDimensions(int set, QSize& size0, QSize& size1, QSize& size2, QSize& size3) const;

protected:
    ~ModuleConfig() override = default;
    CaError doSave(DataTreeNode* node, QMap<QString, QString>& references) const override;
    /// Without the number of sets: the error that says so, and the record as it was. Sizes that are
    /// missing are invalid; of a number above 500 the first 500 sets are taken, since a record with
    /// more could not be stored.
    CaError doLoad(DataTreeNode* node, QMap<QString, Data*>& references) override;

private:
    friend struct RecordAccess;
    static constexpr auto attributes() { return std::make_tuple(); }

    std::vector<QuadViewGeometry::Extents> m_sets = std::vector<QuadViewGeometry::Extents>(5);
};

VLR_DECLARE_RECORD_FACTORY(ModuleConfig, VLR_GUI_EXPORT)
