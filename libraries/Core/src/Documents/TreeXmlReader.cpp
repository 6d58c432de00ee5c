#include "Documents/TreeXmlRules.h"

#include <QtCore/QByteArrayMatcher>
#include <QtCore/QTextCodec>

#include <algorithm>
#include <cstring>
#include <expat.h>
#include <memory>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace vlr {

namespace {

QString unescaped(const QString& text) {
    QString result;
    for (int i = 0; i < text.size(); ++i) {
        bool isCode = false;
        const ushort code = text.mid(i + 2, 4).toUShort(&isCode, 16);
        if (text[i] != QLatin1Char('\\') || i + 1 == text.size()) {
            result += text[i];
        } else if (text[i + 1] == QLatin1Char('u') && isCode) {
            result += QChar(code);
            i += 5;
        } else {
            result += text[++i];
        }
    }
    return result;
}

// QString drops byte order marks at the beginning; in the middle of a document they are characters.
QString decoded(const char* text) {
    QString marks;
    for (; text && qstrncmp(text, "\xEF\xBB\xBF", 3) == 0; text += 3)
        marks += QChar(QChar::ByteOrderMark);
    return marks.isEmpty() ? QString::fromUtf8(text) : marks + QString::fromUtf8(text);
}

bool isUtf8(const QByteArray& piece) {
    QTextCodec::ConverterState state;
    (void)QTextCodec::codecForName("UTF-8")->toUnicode(piece.constData(), piece.size(), &state);
    return state.invalidChars == 0;
}

// The parser recognises UTF-16 by its first two bytes, whatever it was told.
bool looksLikeUtf16(const QByteArray& document) {
    const auto isForeign = [&](int i) {
        const auto byte = static_cast<unsigned char>(document.at(i));
        return byte == 0 || byte >= 0xFE;
    };
    return document.size() >= 2 && (isForeign(0) || isForeign(1));
}

constexpr int mostValues = 16;

/// Finds where the document can be cut so that no markup is.
class Markup {
public:
    explicit Markup(const QByteArray& document) : m_document(document.data(), size(document)) {}

    /// The position behind the tag, comment or the like that begins at `from`, or behind the text
    /// there or a part of it; `from` must not be inside of markup. `values` gets the number of
    /// quoted values, of which comments and the like have none, since a quote in them opens
    /// nothing. The search ends where there are too many.
    std::size_t next(std::size_t from, int& values) const {
        constexpr std::size_t longestText = 65536;
        values = 0;
        if (m_document.compare(from, 1, "<") != 0)
            return std::min({m_document.find('<', from), from + longestText, m_document.size()});
        constexpr std::pair<std::string_view, std::string_view> opaque[] = {
            {"<!--", "-->"}, {"<![CDATA[", "]]>"}, {"<?", "?>"}};
        for (const auto& kind : opaque)
            if (m_document.compare(from, kind.first.size(), kind.first) == 0)
                return behind(m_document.find(kind.second, from + kind.first.size()),
                              kind.second.size());
        return tagEnd(from, values);
    }

private:
    static std::size_t size(const QByteArray& document) {
        return static_cast<std::size_t>(document.size());
    }

    std::size_t behind(std::size_t position, std::size_t length) const {
        return position == std::string_view::npos ? m_document.size() : position + length;
    }

    std::size_t tagEnd(std::size_t start, int& values) const {
        for (std::size_t i = start; i < m_document.size(); ++i) {
            const char c = m_document[i];
            if (c == '>')
                return i + 1;
            if (c != '"' && c != '\'')
                continue;
            i = m_document.find(c, i + 1);
            if (i == std::string_view::npos || ++values > mostValues)
                break;
        }
        return m_document.size();
    }

    std::string_view m_document;
};

/// Builds the tree while expat walks through the document. No recursion: the depth is the
/// document's word.
class Reader {
public:
    Reader(const QByteArray& document, const TreeLimits& limits)
        : m_document(document), m_rules(limits), m_parser(XML_ParserCreate("UTF-8")) {
        XML_SetUserData(m_parser.get(), this);
        XML_SetElementHandler(m_parser.get(), &Reader::onStart, &Reader::onEnd);
        XML_SetStartDoctypeDeclHandler(m_parser.get(), &Reader::onDoctype);
    }

    CaError read(DataTreeNode& root) {
        if (looksLikeUtf16(m_document))
            return malformedTree("it is not UTF-8 text");
        parse();
        if (m_fault.empty() && !m_hasRoot)
            refuse("there is no data in it");
        if (!m_fault.empty())
            return malformedTree(m_fault);
        root = std::move(m_root);
        return CaError::nullError;
    }

private:
    using Attributes = const XML_Char**; // Names and values in turns, null at the end.

    struct ParserDeleter {
        void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
    };

    static void XMLCALL onStart(void* reader, const XML_Char* name, Attributes attributes) {
        static_cast<Reader*>(reader)->startElement(name, attributes);
    }
    static void XMLCALL onEnd(void* reader, const XML_Char*) {
        static_cast<Reader*>(reader)->endElement();
    }
    static void XMLCALL onDoctype(void* reader, const XML_Char*, const XML_Char*, const XML_Char*,
                                  int) {
        static_cast<Reader*>(reader)->refuse("a document type is not allowed");
    }

    // The parser gets the document in pieces that end where markup ends, or inside of a long text:
    // what has to be refused is found before the rest is looked at, and no tag is begun twice. The
    // attributes of an element are counted beforehand, since the parser has stored all of them
    // before anybody is asked.
    void parse() {
        constexpr std::size_t pieceSize = 65536;
        const Markup markup(m_document);
        std::size_t fed = 0;
        std::size_t end = 0;
        bool isLast = false;
        while (m_fault.empty() && !isLast) {
            int values = 0;
            const std::size_t begin = std::exchange(end, markup.next(end, values));
            isLast = end == static_cast<std::size_t>(m_document.size());
            std::string fault = TreeRules::checkLength(end - begin);
            if (values > mostValues)
                fault = "an element with more than " + std::to_string(mostValues) + " attributes";
            if (!fault.empty()) {
                feed(fed, begin, false);
                refuse(fault, lineOf(static_cast<int>(begin)));
            } else if (isLast || end - fed >= pieceSize) {
                feed(fed, end, isLast);
                fed = end;
            }
        }
    }

    void feed(std::size_t begin, std::size_t end, bool isLast) {
        const auto status = XML_Parse(m_parser.get(), m_document.constData() + begin,
                                      static_cast<int>(end - begin), isLast ? 1 : 0);
        if (status == XML_STATUS_OK || !m_fault.empty())
            return;
        const XML_Error error = XML_GetErrorCode(m_parser.get());
        const auto position = static_cast<int>(XML_GetCurrentByteIndex(m_parser.get()));
        constexpr int longestCharacter = 4;
        const bool isForeign = error == XML_ERROR_PARTIAL_CHAR ||
                               (error == XML_ERROR_INVALID_TOKEN &&
                                !isUtf8(m_document.mid(position, longestCharacter)));
        refuse(isForeign ? "it is not UTF-8 text" : XML_ErrorString(error));
    }

    // The parser may still tell some of what it has found before it stops.
    void refuse(const std::string& fault) {
        refuse(fault, XML_GetCurrentLineNumber(m_parser.get()));
    }

    void refuse(const std::string& fault, XML_Size line) {
        if (fault.empty() || !m_fault.empty())
            return;
        m_fault = "line " + std::to_string(line) + ": " + fault;
        XML_StopParser(m_parser.get(), XML_FALSE);
    }

    void startElement(std::string_view name, Attributes attributes) {
        if (!m_fault.empty())
            return;
        if (!std::exchange(m_isInDocument, true))
            startDocument(name, attributes);
        else if (m_isInLeaf)
            refuseElement(name); // NOLINT(bugprone-branch-clone): nothing may stand in a leaf
        else if (name == "data")
            startNode(attributes);
        else if (name == "attribute" && !m_open.empty())
            readAttribute(attributes);
        else if (name == "part" && !m_open.empty())
            readPart(attributes);
        else
            refuseElement(name);
    }

    void endElement() {
        if (!m_fault.empty())
            return;
        if (!std::exchange(m_isInLeaf, false) && !m_open.empty()) {
            refuse(TreeRules::checkNames(*m_open.back()));
            m_open.pop_back();
        }
    }

    XML_Size lineOf(int position) const {
        const auto newlines = std::count(m_document.begin(), m_document.begin() + position, '\n');
        return static_cast<XML_Size>(newlines) + 1;
    }

    void refuseElement(std::string_view name) {
        refuse("unexpected element \"" + std::string(name) + '"');
    }

    void startDocument(std::string_view name, Attributes attributes) {
        const char* const version = find(attributes, "version");
        if (name != "vlr")
            refuseElement(name);
        else if (!version || std::strcmp(version, "1") != 0)
            refuse("unknown version \"" + std::string(version ? version : "") + '"');
    }

    // Null where there is no such attribute.
    static const char* find(Attributes attributes, const char* name) {
        for (; *attributes; attributes += 2)
            if (std::strcmp(*attributes, name) == 0)
                return attributes[1];
        return nullptr;
    }

    static QString text(Attributes attributes, const char* name) {
        const QString value = decoded(find(attributes, name));
        return find(attributes, "escaped") ? unescaped(value) : value;
    }

    void startNode(Attributes attributes) {
        refuse(m_rules.addItem(m_open.size()));
        if (!m_fault.empty())
            return;
        DataTreeNode* const node = m_open.empty() ? &m_root : m_open.back()->addChild({});
        m_hasRoot = true;
        node->setClassName(text(attributes, "class"));
        node->setId(text(attributes, "id"));
        node->setKey(text(attributes, "key"));
        m_open.push_back(node);
    }

    void readAttribute(Attributes attributes) {
        m_isInLeaf = true;
        DataTreeNode& node = *m_open.back();
        refuse(m_rules.checkCount(node.attributes().size() + 1, "attributes"));
        node.appendAttribute(text(attributes, "name"), text(attributes, "value"));
    }

    void readPart(Attributes attributes) {
        m_isInLeaf = true;
        DataTreeNode& node = *m_open.back();
        node.addBinaryPart(text(attributes, "name"));
        refuse(m_rules.checkCount(static_cast<std::size_t>(node.binaryParts().size()),
                                  "binary parts"));
    }

    const QByteArray& m_document;
    TreeRules m_rules;
    const std::unique_ptr<std::remove_pointer_t<XML_Parser>, ParserDeleter> m_parser;
    DataTreeNode m_root;
    std::vector<DataTreeNode*> m_open;
    bool m_isInDocument = false;
    bool m_hasRoot = false;
    bool m_isInLeaf = false;
    std::string m_fault;
};

// An item takes twenty times as much memory as its shortest element, so that too many of them are
// to be noticed before any is made. Most documents are too short to hold that many.
bool holdsTooManyItems(const QByteArray& document, int most) {
    static const QByteArrayMatcher item(QByteArrayLiteral("<data"));
    constexpr int shortestItem = 6; // "<data>"
    if (document.size() / shortestItem <= most)
        return false;
    int count = 0;
    for (int at = item.indexIn(document); at >= 0 && count <= most; ++count)
        at = item.indexIn(document, at + 1);
    return count > most;
}

} // namespace

CaError readTree(const QByteArray& document, DataTreeNode& root, const TreeLimits& limits) {
    if (document.size() > limits.bytes)
        return tooLargeTree(limits.bytes);
    if (holdsTooManyItems(document, limits.nodes))
        return malformedTree("more than " + std::to_string(limits.nodes) + " items");
    return Reader(document, limits).read(root);
}

} // namespace vlr
