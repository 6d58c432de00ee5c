#include "Tools/SurgicalTool.h"

const char* const SurgicalTool::UNPLUGGED = "SurgicalTool::Unplugged";

SurgicalTool::SurgicalTool(const vlr::ToolGeometry& geometry)
    : m_name(geometry.name), m_body(geometry) {}

SurgicalTool::~SurgicalTool() {
    notify(UNPLUGGED);
}
