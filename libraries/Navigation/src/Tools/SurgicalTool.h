#pragma once

#include "Observer/CaSubject.h"
#include "Tools/CaTool.h"

/// A tool that the camera tracks: a pointer, a drill, a reference base fixed to the patient.
///
///     SurgicalTool* tool = SurgicalToolBox::getInstance()->getTool("Pointer");
///     tool->attach(SurgicalTool::UNPLUGGED, this, &Panel::toolGone);
///
/// Tools belong to the tool box. Who keeps a pointer to one listens to UNPLUGGED, the last sign
/// of life, after which only the address may be used. GUI thread only.
class VLR_NAVIGATION_EXPORT SurgicalTool : public CaSubject {
public:
    /// The event for CaSubject::attach().
    static const char* const UNPLUGGED;

    explicit SurgicalTool(const vlr::ToolGeometry& geometry);
    SurgicalTool(const SurgicalTool&) = delete;
    SurgicalTool& operator=(const SurgicalTool&) = delete;
    ~SurgicalTool() override;

    const std::string& getName() const { return m_name; } ///< UTF-8
    CaTool* getRigidBody() { return &m_body; }            ///< Never null; dies with the tool.
    const CaTool* getRigidBody() const { return &m_body; }

private:
    std::string m_name;
    CaTool m_body;
};
