#include "AppBase/vlrControl.h"

#include <utility>

namespace vlr {

Control::Control(std::string name) : m_name(std::move(name)) {}

Control::~Control() = default;

} // namespace vlr
