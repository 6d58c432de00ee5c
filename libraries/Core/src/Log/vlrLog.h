#pragma once

#include "Log/LogRecord.h"
#include "vlrCoreExport.h"

#include <atomic>
#include <functional>
#include <optional>
#include <ostream>
#include <streambuf>
#include <string>
#include <string_view>
#include <type_traits>

#include "Stream/QtStream.h"

namespace vlr {

/// A record being written: what is streamed into it becomes one log record when it goes out of
/// scope, normally at the end of the statement. It takes what an std::ostream takes, manipulators
/// included, and always writes numbers as the classic locale does.
class VLR_CORE_EXPORT LogStream {
public:
    LogStream(LogLevel level, const char* file, int line) noexcept;
    LogStream(LogStream&& other) noexcept;
    LogStream(const LogStream&) = delete;
    ~LogStream();

    template <class T>
    LogStream& operator<<(const T& value) {
        if (m_isActive && !takesAsItIs(value))
            stream() << value;
        return *this;
    }
    LogStream& operator<<(std::ostream& (*manipulator)(std::ostream&)) {
        if (m_isActive)
            stream() << manipulator;
        return *this;
    }

private:
    // Short texts need no memory but that of the string which the record gets.
    class VLR_CORE_EXPORT Buffer : public std::streambuf {
    public:
        Buffer();
        std::string take();

    private:
        int_type overflow(int_type character) override;
        void spill();

        char m_area[256];
        std::string m_spilt;
    };

    // Most records are texts and whole numbers, which read the same without a stream as long as
    // nothing was set on one. With a stream, such a record takes a quarter longer.
    template <class T>
    bool takesAsItIs(const T& value) {
        using Plain = std::decay_t<T>;
        constexpr bool isCharacters =
            std::is_same_v<Plain, char*> || std::is_same_v<Plain, const char*>;
        constexpr bool isText = isCharacters || std::is_same_v<T, std::string> ||
                                std::is_same_v<T, std::string_view> || std::is_same_v<T, QString>;
        constexpr bool isWholeNumber =
            std::is_same_v<T, int> || std::is_same_v<T, unsigned> || std::is_same_v<T, long> ||
            std::is_same_v<T, unsigned long> || std::is_same_v<T, long long> ||
            std::is_same_v<T, unsigned long long>;
        if (m_stream)
            return false;
        if constexpr (isText)
            return append(value);
        else if constexpr (isWholeNumber)
            return append(std::string_view(std::to_string(value)));
        else
            return false;
    }
    bool append(const char* text); // not a null pointer, which streams have their own idea of
    bool append(std::string_view text);
    bool append(const QString& text);

    std::ostream& stream();

    LogLevel m_level;
    const char* m_file;
    int m_line;
    bool m_isActive;
    Buffer m_text;
    std::optional<std::ostream> m_stream; // made when it is needed
};

/// Makes a whole VLR_LOG statement an expression without value; binds weaker than <<. An "if"
/// inside the macro would take the "else" of the statement around it.
struct LogStatement {
    void operator&(const LogStream&) const noexcept {}
};

/// The log of the application.
///
///     VLR_LOG(Error) << "Could not store " << path << ". Reason: " << error;
///     vlr::Log::getInstance("ERROR", "libraries/Gui/src/AppBase/vlrControlList", 242) << text;
///
/// Every record goes to a rotating file (log/<application>.log under the application's local
/// data folder, 5 files of 2 MiB) and to standard error, each with time, level, source file and
/// line. The file is opened with the first record after the QCoreApplication was made, and another
/// one with the first record after the application's name or that folder changed; where that is
/// impossible, one line on standard error says so and the program goes on. Line breaks
/// inside a text are kept, indented, so that no text can pose as another record.
///
/// A level can be given a stream of its own, which then replaces standard error for it: the
/// user levels are routed to message boxes that way. Records may be written from any thread; a
/// record for such a stream that comes from another thread is handed to the GUI thread.
class VLR_CORE_EXPORT Log {
public:
    /// A stream for one record. An unknown level name counts as "ERROR".
    static LogStream getInstance(const char* level, const char* file, int line);
    static LogStream getInstance(LogLevel level, const char* file, int line);

    /// Whether records of the level go anywhere. "DEBUG" is off until it is switched on.
    static bool isEnabled(LogLevel level) noexcept {
        return (s_enabled.load(std::memory_order_relaxed) >> static_cast<unsigned>(level)) & 1U;
    }
    static void setEnabled(LogLevel level, bool enabled) noexcept;

    /// Sends the records of the level to this stream instead of standard error, each followed by
    /// a line break where it has a prefix, and by a flush. A null pointer gives standard error
    /// back. The stream is not owned and must outlive its use.
    static void setOStream(LogLevel level, std::ostream* stream);
    static std::ostream* oStream(LogLevel level);
    /// Whether the level's own stream gets "LEVEL file:line: " before the text (default) or, with
    /// 0, only the text. The log file always has the prefix.
    static void setPrefix(LogLevel level, int prefix);

    /// Calls the function with every record, in the thread that writes it. Returns a handle for
    /// removeListener(). Used by log views and tests.
    static int addListener(std::function<void(const LogRecord&)> listener);
    static void removeListener(int handle);

    /// Without a file nothing is opened or made; for programs that only look. On at first.
    static void setFileEnabled(bool enabled);
    static std::string filePath(); ///< The log file in use, empty when there is none.
    static void flush();           ///< Writes out what is buffered.

private:
    friend class LogStream;
    static void write(LogRecord record);
    static std::atomic<unsigned> s_enabled;
};

} // namespace vlr

/// Starts a record at this place in the source: VLR_LOG(Warning) << "text". Nothing to the right
/// is evaluated when nobody listens to the level.
#define VLR_LOG(level)                                                                             \
    !::vlr::Log::isEnabled(::vlr::LogLevel::level)                                                 \
        ? static_cast<void>(0)                                                                     \
        : ::vlr::LogStatement() &                                                                  \
              ::vlr::Log::getInstance(::vlr::LogLevel::level, __FILE__, __LINE__)
