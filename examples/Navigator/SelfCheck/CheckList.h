#pragma once

#include "Log/vlrLog.h"

#include <QtCore/QString>

#include <functional>
#include <mutex>
#include <string>
#include <vector>

/// Checks one thing after the other and prints a line for each on standard output.
///
///     CheckList list;
///     list.check("icon", "Exit", [] { return isDrawn() ? QString() : "Nothing is drawn."; });
///     return list.isGood() ? 0 : 1;
///
/// A fault is what the check gives as a text, an exception, and every record of the log from
/// WARNING on that is written meanwhile.
class CheckList {
public:
    CheckList();
    ~CheckList();
    CheckList(const CheckList&) = delete;
    CheckList& operator=(const CheckList&) = delete;

    void check(const char* kind, const QString& subject, const std::function<QString()>& problem);

    /// Prints a line about what is no fault of the installation, but to be known.
    static void note(const char* kind, const QString& subject, const QString& text);

    bool isGood() const { return m_faults == 0; }
    int count() const { return m_count; }
    int faults() const { return m_faults; }

private:
    void collect(const vlr::LogRecord& record);
    std::vector<std::string> takeRecords();

    std::mutex m_mutex; ///< Records come from any thread.
    std::vector<std::string> m_records;
    int m_listener;
    int m_count = 0;
    int m_faults = 0;
};
