#include "Base/QuadViewConfig.h"

VLR_DEFINE_RECORD_FACTORY(QuadViewConfig)

namespace {

const QString holdDownTimeName = QStringLiteral("m_holdDownTime");

bool isColorIndex(int index) {
    return index >= 0 && index < QuadViewConfig::colorCount;
}

QString component(const char* name, int index) {
    return QString::fromLatin1(name) + QString::number(index);
}

bool readComponent(const DataTreeNode& node, const char* name, int index, int& value) {
    return vlr::readAttribute(node, component(name, index), value) == CaError::nullError &&
           value >= 0 && value <= 255;
}

} // namespace

QColor QuadViewConfig::resourceColor(int index) const {
    return isColorIndex(index) ? m_colors[static_cast<std::size_t>(index)] : QColor(Qt::black);
}

void QuadViewConfig::setResourceColor(int index, const QColor& color) {
    if (!isColorIndex(index))
        return;
    m_colors[static_cast<std::size_t>(index)] = color;
    notify(CHANGED);
}

void QuadViewConfig::setHoldDownTime(int milliseconds) {
    if (milliseconds < 1)
        return;
    m_holdDownTime = milliseconds;
    notify(CHANGED);
}

CaError QuadViewConfig::doSave(DataTreeNode* node, QMap<QString, QString>& references) const {
    const CaError error = ConfigurationRecord<QuadViewConfig>::doSave(node, references);
    if (error != CaError::nullError)
        return error;
    for (int i = 0; i < colorCount; ++i) {
        vlr::writeAttribute(*node, component("Red_", i), resourceColor(i).red());
        vlr::writeAttribute(*node, component("Green_", i), resourceColor(i).green());
        vlr::writeAttribute(*node, component("Blue_", i), resourceColor(i).blue());
    }
    vlr::writeAttribute(*node, holdDownTimeName, m_holdDownTime);
    return CaError::nullError;
}

CaError QuadViewConfig::doLoad(DataTreeNode* node, QMap<QString, Data*>& references) {
    const CaError error = ConfigurationRecord<QuadViewConfig>::doLoad(node, references);
    if (error != CaError::nullError)
        return error;
    for (int i = 0; i < colorCount; ++i) {
        QColor& color = m_colors[static_cast<std::size_t>(i)];
        int red = color.red();
        int green = color.green();
        int blue = color.blue();
        const bool hasRed = readComponent(*node, "Red_", i, red);
        const bool hasGreen = readComponent(*node, "Green_", i, green);
        const bool hasBlue = readComponent(*node, "Blue_", i, blue);
        if (hasRed && hasGreen && hasBlue)
            color = QColor(red, green, blue);
    }
    int holdDownTime = 0;
    if (vlr::readAttribute(*node, holdDownTimeName, holdDownTime) == CaError::nullError &&
        holdDownTime >= 1)
        m_holdDownTime = holdDownTime;
    return CaError::nullError;
}
