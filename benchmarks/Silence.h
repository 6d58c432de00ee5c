#pragma once

#include <fcntl.h>
#include <stdexcept>
#include <unistd.h>

/// Keeps what is written to standard error from the reader of the table, and the time that a
/// terminal takes out of what is measured.
class Silence {
public:
    Silence() : m_stderr(::dup(STDERR_FILENO)) {
        const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
        if (m_stderr < 0 || nowhere < 0 || ::dup2(nowhere, STDERR_FILENO) < 0)
            throw std::runtime_error("Standard error cannot be silenced.");
        ::close(nowhere);
    }
    Silence(const Silence&) = delete;
    Silence& operator=(const Silence&) = delete;
    ~Silence() {
        ::dup2(m_stderr, STDERR_FILENO);
        ::close(m_stderr);
    }

private:
    int m_stderr;
};
