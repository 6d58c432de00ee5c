#include "Log/LogText.h"

#include <algorithm>
#include <chrono>

namespace vlr {

namespace {

constexpr std::size_t millisecondsAt = stampLength - 4; // three digits and a blank

bool isBetween(unsigned value, unsigned first, unsigned last) {
    return value >= first && value <= last;
}

bool isControl(unsigned char code) {
    return (code < 0x20 && code != '\t') || code == 0x7f;
}

// The length of the UTF-8 sequence at this place if terminals or viewers may take it for a control
// character or line break, or write from right to left for it: U+0080 to U+009F, U+2028 to U+202E,
// U+2066 to U+2069. Otherwise 0.
std::size_t steeringSequence(std::string_view text, std::size_t at) {
    const auto byte = [&](std::size_t offset) {
        return at + offset < text.size() ? static_cast<unsigned char>(text[at + offset]) : 0U;
    };
    if (byte(0) == 0xc2 && isBetween(byte(1), 0x80, 0x9f))
        return 2;
    if (byte(0) == 0xe2 && ((byte(1) == 0x80 && isBetween(byte(2), 0xa8, 0xae)) ||
                            (byte(1) == 0x81 && isBetween(byte(2), 0xa6, 0xa9))))
        return 3;
    return 0;
}

// Whether it holds neither control characters nor bytes that steering sequences begin with. It
// looks at all bytes without a branch, which the compiler turns into few instructions.
bool isPlain(std::string_view text) {
    unsigned found = 0;
    for (const char each : text) {
        const auto code = static_cast<unsigned char>(each);
        found |= static_cast<unsigned>((code < 0x20) & (code != '\t')) |
                 static_cast<unsigned>(code == 0x7f) | static_cast<unsigned>(code == 0xc2) |
                 static_cast<unsigned>(code == 0xe2);
    }
    return found == 0;
}

void appendEscaped(std::string& line, unsigned char code) {
    static const char* const digits = "0123456789abcdef";
    line.append("\\x").append({digits[code >> 4U], digits[code & 0xfU]});
}

} // namespace

void appendPrintable(std::string& line, std::string_view text) {
    if (isPlain(text)) {
        line += text;
        return;
    }
    std::size_t escapedEnd = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto code = static_cast<unsigned char>(text[i]);
        if (const std::size_t length = steeringSequence(text, i))
            escapedEnd = i + length;
        if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n')
            continue;
        if (text[i] == '\n')
            line += "\n    ";
        else if (isControl(code) || i < escapedEnd)
            appendEscaped(line, code);
        else
            line += text[i];
    }
}

std::string lineOf(const LogRecord& record) {
    const std::string_view file = record.file;
    std::string line;
    line.reserve(stampLength + file.size() + record.text.size() + 32); // level, line and marks
    line.append(stampLength, ' ').append(toText(record.level)).append(" ");
    appendPrintable(line, file);
    line.append(":").append(std::to_string(record.line)).append(": ");
    appendPrintable(line, record.text);
    line += '\n';
    return line;
}

void LogClock::stamp(std::string& line) {
    using namespace std::chrono;
    const auto now = duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
    const auto second = static_cast<std::time_t>(now / 1000);
    if (second != m_second) {
        std::tm calendar{};
        localtime_r(&second, &calendar);
        std::strftime(m_text, sizeof m_text, "%Y-%m-%d %H:%M:%S.000 ", &calendar);
        m_second = second;
    }
    auto rest = now % 1000;
    for (std::size_t digit = 3; digit > 0; --digit, rest /= 10)
        m_text[millisecondsAt + digit - 1] = static_cast<char>('0' + rest % 10);
    std::copy_n(m_text, stampLength, line.begin());
}

} // namespace vlr
