#pragma once

#include "vlrBaseExport.h"

#include <exception>
#include <string>

namespace vlr {

/// The base of the exceptions this library throws. It carries its text.
///
/// Operations that can fail return a CaError; an exception means that the program itself is
/// put together wrongly.
class VLR_BASE_EXPORT Exception : public std::exception {
public:
    explicit Exception(std::string text);
    ~Exception() override;

    const std::string& text() const noexcept { return m_text; }
    const char* what() const noexcept override { return m_text.c_str(); }

private:
    std::string m_text;
};

} // namespace vlr
