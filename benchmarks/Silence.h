#pragma once

#include <cstdio>
#include <fcntl.h>
#include <stdexcept>
#include <unistd.h>

/// Keeps what is written to standard error, or another file, from the reader of the table, and the
/// time that a terminal takes out of what is measured.
class Silence {
public:
    explicit Silence(int file = STDERR_FILENO) : m_file(file), m_kept(::dup(file)) {
        const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
        if (m_kept < 0 || nowhere < 0 || ::dup2(nowhere, file) < 0)
            throw std::runtime_error("The output cannot be silenced.");
        ::close(nowhere);
    }
    Silence(const Silence&) = delete;
    Silence& operator=(const Silence&) = delete;
    ~Silence() {
        std::fflush(stdout); // What is buffered belongs to nowhere as well.
        ::dup2(m_kept, m_file);
        ::close(m_kept);
    }

private:
    int m_file;
    int m_kept;
};
