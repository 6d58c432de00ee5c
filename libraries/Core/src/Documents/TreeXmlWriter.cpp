#include "Documents/TreeXmlRules.h"

#include <QtCore/QString>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <string_view>

namespace vlr {

namespace {

// --- characters that XML cannot carry

bool isXmlCharacter(const QString& text, int i) {
    const QChar c = text[i];
    if (c.isHighSurrogate())
        return i + 1 < text.size() && text[i + 1].isLowSurrogate();
    if (c.isLowSurrogate())
        return i > 0 && text[i - 1].isHighSurrogate();
    return (c.unicode() >= 0x20 || c == QLatin1Char('\t') || c == QLatin1Char('\n') ||
            c == QLatin1Char('\r')) &&
           c.unicode() < 0xFFFE;
}

bool needsEscape(const QString& text) {
    for (int i = 0; i < text.size(); ++i)
        if (!isXmlCharacter(text, i))
            return true;
    return false;
}

QString escaped(const QString& text) {
    QString result;
    for (int i = 0; i < text.size(); ++i) {
        if (text[i] == QLatin1Char('\\'))
            result += QStringLiteral("\\\\");
        else if (isXmlCharacter(text, i))
            result += text[i];
        else
            result += QStringLiteral("\\u%1").arg(text[i].unicode(), 4, 16, QLatin1Char('0'));
    }
    return result;
}

// --- UTF-8

// What stands for the characters that mean something to XML or that a parser would turn into
// blanks; null for all others.
constexpr auto references = [] {
    std::array<const char*, 0x80> result{};
    result['<'] = "&lt;";
    result['>'] = "&gt;";
    result['&'] = "&amp;";
    result['"'] = "&quot;";
    result['\t'] = "&#9;";
    result['\n'] = "&#10;";
    result['\r'] = "&#13;";
    return result;
}();

constexpr int longestReference = 6;

char* writeAscii(char* to, ushort c) {
    const char* reference = references[c];
    if (!reference)
        *to++ = static_cast<char>(c);
    else
        for (; *reference; ++reference)
            *to++ = *reference;
    return to;
}

char* writeCodePoint(char* to, uint c) {
    const auto continuation = [c](int shift) {
        return static_cast<char>(0x80U | ((c >> shift) & 0x3FU));
    };
    if (c < 0x800) {
        *to++ = static_cast<char>(0xC0U | (c >> 6));
    } else {
        if (c < 0x10000) {
            *to++ = static_cast<char>(0xE0U | (c >> 12));
        } else {
            *to++ = static_cast<char>(0xF0U | (c >> 18));
            *to++ = continuation(12);
        }
        *to++ = continuation(6);
    }
    *to++ = continuation(0);
    return to;
}

/// Bytes up to a limit; what goes beyond it is dropped.
class Output {
public:
    explicit Output(qint64 limit) : m_limit(limit) {}

    bool isFull() const { return m_isFull; }
    std::size_t size() const { return static_cast<std::size_t>(m_used); }

    QByteArray take() {
        m_bytes.resize(m_used);
        return std::move(m_bytes);
    }

    void add(std::string_view markup) {
        if (!makeRoom(static_cast<int>(markup.size())))
            return;
        std::memcpy(end(), markup.data(), markup.size());
        m_used += static_cast<int>(markup.size());
    }

    // Only texts without characters that need to be escaped.
    void addText(const QString& text) {
        constexpr int pieceSize = 4096;
        for (int i = 0; i < text.size();) {
            const int last = std::min(i + pieceSize, text.size());
            // A pair of surrogates may end one character behind the piece.
            if (!makeRoom(longestReference * (last - i + 1)))
                return;
            i = addPiece(text, i, last);
        }
    }

    void startLine(std::size_t indentation) {
        static const std::string blanks(64, ' ');
        add("\n");
        for (; indentation > blanks.size(); indentation -= blanks.size())
            add(blanks);
        add(std::string_view(blanks).substr(0, indentation));
    }

private:
    char* end() { return m_bytes.data() + m_used; }

    // Returns where the piece really ended.
    int addPiece(const QString& text, int i, int last) {
        char* const begin = end();
        char* to = begin;
        for (; i < last; ++i) {
            const QChar c = text.at(i);
            if (c.unicode() < 0x80)
                to = writeAscii(to, c.unicode());
            else if (!c.isHighSurrogate())
                to = writeCodePoint(to, c.unicode());
            else
                to = writeCodePoint(to, QChar::surrogateToUcs4(c, text.at(++i)));
        }
        m_used += static_cast<int>(to - begin);
        return i;
    }

    bool makeRoom(int size) {
        m_isFull = m_isFull || m_used > m_limit;
        if (!m_isFull && m_bytes.size() - m_used < size)
            m_bytes.resize(std::max(2 * m_bytes.size(), m_used + size));
        return !m_isFull;
    }

    const qint64 m_limit;
    QByteArray m_bytes;
    int m_used = 0;
    bool m_isFull = false;
};

// --- elements

struct Text {
    std::string_view name;
    const QString& value;
};

class Writer {
public:
    explicit Writer(const TreeLimits* limits)
        : m_rules(limits ? *limits : TreeLimits()), m_isChecked(limits != nullptr),
          m_output(limits ? std::min(limits->bytes, mostBytes) : mostBytes) {}

    CaError write(const DataTreeNode& root, QByteArray& document) {
        m_output.add("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<vlr version=\"1\">");
        writeNode(root);
        m_output.add("\n</vlr>\n");
        const QByteArray bytes = m_output.take();
        if (!m_fault.empty())
            return malformedTree(m_fault);
        if (m_output.isFull() || (m_isChecked && bytes.size() > m_rules.bytes()))
            return tooLargeTree(m_rules.bytes());
        document = bytes;
        return CaError::nullError;
    }

private:
    static constexpr qint64 mostBytes = std::numeric_limits<int>::max() / 4;

    bool isStopped() const { return !m_fault.empty() || m_output.isFull(); }

    void check(const DataTreeNode& node) {
        m_fault = m_rules.addItem(m_ancestors);
        if (m_fault.empty())
            m_fault = m_rules.checkCount(node.attributes().size(), "attributes");
        if (m_fault.empty())
            m_fault = m_rules.checkCount(static_cast<std::size_t>(node.binaryParts().size()),
                                         "binary parts");
        if (m_fault.empty())
            m_fault = TreeRules::checkNames(node);
    }

    // One flag covers all texts of an element.
    void writeTag(std::string_view name, std::initializer_list<Text> texts, std::string_view end) {
        const std::size_t begin = m_output.size();
        m_output.add("<");
        m_output.add(name);
        const bool escape = std::any_of(texts.begin(), texts.end(),
                                        [](const Text& text) { return needsEscape(text.value); });
        for (const Text& text : texts) {
            m_output.add(" ");
            m_output.add(text.name);
            m_output.add("=\"");
            m_output.addText(escape ? escaped(text.value) : text.value);
            m_output.add("\"");
        }
        if (escape)
            m_output.add(" escaped=\"1\"");
        m_output.add(end);
        if (m_isChecked && m_fault.empty())
            m_fault = TreeRules::checkLength(m_output.size() - begin);
    }

    void writeLeaf(std::string_view name, std::initializer_list<Text> texts) {
        m_output.startLine(indentation() + 2);
        writeTag(name, texts, "/>");
    }

    void writeNode(const DataTreeNode& node) {
        if (m_isChecked && !isStopped())
            check(node);
        if (isStopped())
            return;
        m_output.startLine(indentation());
        const bool isEmpty =
            node.attributes().empty() && node.binaryParts().isEmpty() && node.children().empty();
        const std::string_view end = isEmpty ? "/>" : ">";
        if (node.key().isEmpty())
            writeTag("data", {{"class", node.className()}, {"id", node.id()}}, end);
        else
            writeTag("data", {{"class", node.className()}, {"id", node.id()}, {"key", node.key()}},
                     end);
        if (isEmpty)
            return;
        writeContent(node);
        m_output.startLine(indentation());
        m_output.add("</data>");
    }

    void writeContent(const DataTreeNode& node) {
        for (const auto& attribute : node.attributes())
            writeLeaf("attribute", {{"name", attribute.first}, {"value", attribute.second}});
        for (const QString& part : node.binaryParts())
            writeLeaf("part", {{"name", part}});
        ++m_ancestors;
        for (const auto& child : node.children())
            writeNode(*child);
        --m_ancestors;
    }

    std::size_t indentation() const { return 2 * (m_ancestors + 1); }

    TreeRules m_rules;
    const bool m_isChecked;
    Output m_output;
    std::size_t m_ancestors = 0;
    std::string m_fault;
};

} // namespace

QByteArray writeTree(const DataTreeNode& root) {
    QByteArray document;
    (void)Writer(nullptr).write(root, document);
    return document;
}

CaError writeTree(const DataTreeNode& root, QByteArray& document, const TreeLimits& limits) {
    return Writer(&limits).write(root, document);
}

} // namespace vlr
