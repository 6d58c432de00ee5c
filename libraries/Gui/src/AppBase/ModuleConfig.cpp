#include "AppBase/ModuleConfig.h"

#include <algorithm>

VLR_DEFINE_RECORD_FACTORY(ModuleConfig)

namespace {

const QString countName = QStringLiteral("NoSizes");
constexpr int mostSets = 500; // Eight attributes each; a stored item has at most 4096.

QString sizeName(const char* prefix, std::size_t set, std::size_t pane) {
    return QString::fromLatin1(prefix) + QString::number(set) + QLatin1Char('_') +
           QString::number(pane);
}

} // namespace

void ModuleConfig::setNoDimensionSets(int count) {
    if (count >= 0)
        m_sets.resize(static_cast<std::size_t>(count));
    notify(CHANGED);
}

void ModuleConfig::setResourceDimensions(int set, const QSize& size0, const QSize& size1,
                                         const QSize& size2, const QSize& size3) {
    if (set < 0 || set >= noDimensionSets())
        return;
    m_sets[static_cast<std::size_t>(set)] = {size0, size1, size2, size3};
    notify(CHANGED);
}

void ModuleConfig::resourceDimensions(int set, QSize& size0, QSize& size1, QSize& size2,
                                      QSize& size3) const {
    if (set < 0 || set >= noDimensionSets())
        return;
    const QuadViewGeometry::Extents& sizes = m_sets[static_cast<std::size_t>(set)];
    size0 = sizes[0];
    size1 = sizes[1];
    size2 = sizes[2];
    size3 = sizes[3];
}

CaError ModuleConfig::doSave(DataTreeNode* node, QMap<QString, QString>& references) const {
    const CaError error = ConfigurationRecord<ModuleConfig>::doSave(node, references);
    if (error != CaError::nullError)
        return error;
    vlr::writeAttribute(*node, countName, noDimensionSets());
    for (std::size_t set = 0; set < m_sets.size(); ++set)
        for (std::size_t pane = 0; pane < m_sets[set].size(); ++pane) {
            vlr::writeAttribute(*node, sizeName("SizeW_", set, pane), m_sets[set][pane].width());
            vlr::writeAttribute(*node, sizeName("SizeH_", set, pane), m_sets[set][pane].height());
        }
    return CaError::nullError;
}

CaError ModuleConfig::doLoad(DataTreeNode* node, QMap<QString, Data*>& references) {
    CaError error = ConfigurationRecord<ModuleConfig>::doLoad(node, references);
    if (error != CaError::nullError)
        return error;
    // All sizes are the record's own: those beyond the number are not kept for anybody.
    for (const auto& a : node->attributes())
        if (a.first.startsWith(QLatin1String("SizeW_")) ||
            a.first.startsWith(QLatin1String("SizeH_")))
            node->markRead(a.first);
    int count = 0;
    error = vlr::readAttribute(*node, countName, count);
    if (error != CaError::nullError)
        return error;
    if (count < 0)
        return CaError(malformedAttributeError, "Cannot read attribute: NoSizes");

    // A damaged file may name any number, and memory is made for it before a size is read.
    std::vector<QuadViewGeometry::Extents> sets(
        static_cast<std::size_t>(std::min(count, mostSets)));
    for (std::size_t set = 0; set < sets.size(); ++set)
        for (std::size_t pane = 0; pane < sets[set].size(); ++pane) {
            int width = -1;
            int height = -1;
            CaError missing = vlr::readAttribute(*node, sizeName("SizeW_", set, pane), width);
            if (missing == CaError::nullError)
                missing = vlr::readAttribute(*node, sizeName("SizeH_", set, pane), height);
            if (missing == CaError::nullError)
                sets[set][pane] = QSize(width, height);
            else if (error == CaError::nullError)
                error = missing;
        }
    m_sets = std::move(sets);
    return error;
}
