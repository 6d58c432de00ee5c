#pragma once

#include "Data/ConfigurationRecord.h"
#include "vlrGuiExport.h"

#include <QtGui/QColor>

#include <array>

/// The four resource colours, by which the views are told apart in pictures of a layout, and the
/// time for which a layout button is held down to store the layout in it.
class VLR_GUI_EXPORT QuadViewConfig : public ConfigurationRecord<QuadViewConfig> {
public:
    static constexpr const char* className = "QuadViewConfig";
    static constexpr int colorCount = 4;

    /// Black for an index outside 0 to 3.
    QColor resourceColor(int index) const;
    /// Ignored for an index outside 0 to 3. Notifies CHANGED.
    void setResourceColor(int index, const QColor& color);

    int holdDownTime() const { return m_holdDownTime; } ///< Milliseconds.
    /// Values below 1 are ignored. Notifies CHANGED.
    void setHoldDownTime(int milliseconds);

protected:
    ~QuadViewConfig() override = default;
    CaError doSave(DataTreeNode* node, QMap<QString, QString>& references) const override;
    CaError doLoad(DataTreeNode* node, QMap<QString, Data*>& references) override;

private:
    friend struct RecordAccess;
    static constexpr auto attributes() { return std::make_tuple(); }

    std::array<QColor, colorCount> m_colors{QColor(Qt::yellow), QColor(Qt::green), QColor(Qt::red),
                                            QColor(Qt::blue)};
    int m_holdDownTime = 2000;
};

VLR_DECLARE_RECORD_FACTORY(QuadViewConfig, VLR_GUI_EXPORT)
