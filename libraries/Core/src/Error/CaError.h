#pragma once

#include "vlrCoreExport.h"

#include <iosfwd>
#include <string>

/// What an operation that can fail returns: a value that is either "no error" or says what
/// went wrong.
///
///     const CaError error = DataIOManager::storePatient(patient);
///     if (error != CaError::nullError)
///         VLR_LOG(Error) << "Could not store the patient. Reason: " << error;
///
/// The id names the kind of error for the program, the description tells a person what
/// happened and to what (which file, which value). A default-constructed error is the null
/// error. Two errors are equal when id and description are.
class VLR_CORE_EXPORT CaError {
public:
    CaError();
    explicit CaError(std::string id, std::string description = {}, std::string location = {},
                     int line = 0, int code = 0);

    /// Success.
    static const CaError nullError;

    const std::string& id() const noexcept { return m_id; }
    const std::string& description() const noexcept { return m_description; }
    const std::string& location() const noexcept { return m_location; } ///< Source file.
    int line() const noexcept { return m_line; }                        ///< Source line.
    int code() const noexcept { return m_code; } ///< Number given by the system below, or 0.

    /// The text to show: the description, or the id where there is none; empty for the null error.
    const std::string& text() const noexcept;
    bool isNull() const noexcept { return m_id.empty() && m_description.empty(); }

private:
    std::string m_id;
    std::string m_description;
    std::string m_location;
    int m_line = 0;
    int m_code = 0;
};

VLR_CORE_EXPORT bool operator==(const CaError& a, const CaError& b) noexcept;
VLR_CORE_EXPORT bool operator!=(const CaError& a, const CaError& b) noexcept;
/// Writes the text, and the place where it is known; the null error writes "no error".
VLR_CORE_EXPORT std::ostream& operator<<(std::ostream& stream, const CaError& error);
