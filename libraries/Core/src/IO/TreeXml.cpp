#include "IO/TreeXml.h"

#include "Stream/QtStream.h"

#include <QtCore/QSet>
#include <QtCore/QTextCodec>
#include <QtCore/QXmlStreamReader>
#include <QtCore/QXmlStreamWriter>

#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace vlr {

namespace {

const QString documentElement = QStringLiteral("vlr");
const QString dataElement = QStringLiteral("data");
const QString attributeElement = QStringLiteral("attribute");
const QString partElement = QStringLiteral("part");
const QString versionName = QStringLiteral("version");
const QString className = QStringLiteral("class");
const QString idName = QStringLiteral("id");
const QString keyName = QStringLiteral("key");
const QString nameName = QStringLiteral("name");
const QString valueName = QStringLiteral("value");
const QString escapedName = QStringLiteral("escaped");
const QString formatVersion = QStringLiteral("1");

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

// One flag covers all texts of an element.
void writeTexts(QXmlStreamWriter& xml, const std::vector<DataTreeNode::Attribute>& texts) {
    bool escape = false;
    for (const auto& text : texts)
        escape = escape || needsEscape(text.second);
    for (const auto& text : texts)
        xml.writeAttribute(text.first, escape ? escaped(text.second) : text.second);
    if (escape)
        xml.writeAttribute(escapedName, formatVersion);
}

void writeNode(QXmlStreamWriter& xml, const DataTreeNode& node) {
    xml.writeStartElement(dataElement);
    std::vector<DataTreeNode::Attribute> identity{{className, node.className()},
                                                  {idName, node.id()}};
    if (!node.key().isEmpty())
        identity.emplace_back(keyName, node.key());
    writeTexts(xml, identity);
    for (const auto& a : node.attributes()) {
        xml.writeEmptyElement(attributeElement);
        writeTexts(xml, {{nameName, a.first}, {valueName, a.second}});
    }
    for (const QString& part : node.binaryParts()) {
        xml.writeEmptyElement(partElement);
        writeTexts(xml, {{nameName, part}});
    }
    for (const auto& child : node.children())
        writeNode(xml, *child);
    xml.writeEndElement();
}

// --- what the XML parser must not see

CaError malformed(const std::string& text) {
    return CaError("TreeXml::malformed", text);
}

// Where the markup that starts here ends, and how many quoted values it has. Comments and the like
// have none, since a quote in them opens nothing.
int markupEnd(const QByteArray& document, int start, int& values) {
    const std::pair<const char*, const char*> opaque[] = {
        {"<!--", "-->"}, {"<![CDATA[", "]]>"}, {"<?", "?>"}};
    for (const auto& kind : opaque)
        if (qstrncmp(document.constData() + start, kind.first, qstrlen(kind.first)) == 0)
            return document.indexOf(kind.second, start + static_cast<int>(qstrlen(kind.first)));
    int i = start;
    for (; i >= 0 && i < document.size() && document[i] != '>'; ++i)
        if (document[i] == '"' || document[i] == '\'') {
            ++values;
            i = document.indexOf(document[i], i + 1);
            if (i < 0)
                return i;
        }
    return i;
}

// The parser compares the attributes of an element with each other, which takes it hours where
// there are enough of them; and it reads a document type before anybody can refuse it.
CaError checkMarkup(const QByteArray& document) {
    constexpr int mostValues = 16;
    for (int i = document.indexOf('<'); i >= 0; i = document.indexOf('<', i)) {
        if (qstrnicmp(document.constData() + i, "<!DOCTYPE", 9) == 0)
            return malformed("a document type is not allowed");
        int values = 0;
        i = markupEnd(document, i, values);
        if (values > mostValues)
            return malformed("an element with more than " + std::to_string(mostValues) +
                             " attributes");
        if (i < 0)
            break;
    }
    return CaError::nullError;
}

// Decoded here, so that no encoding which the document claims makes the parser see other
// characters than checkMarkup() did.
CaError decode(const QByteArray& document, QString& text) {
    QTextCodec::ConverterState state;
    text =
        QTextCodec::codecForName("UTF-8")->toUnicode(document.constData(), document.size(), &state);
    if (state.invalidChars > 0 || state.remainingChars > 0)
        return malformed("it is not UTF-8 text");
    return CaError::nullError;
}

// --- reading, without recursion: the depth is the document's word

class Reader {
public:
    Reader(const QString& document, const TreeLimits& limits) : m_xml(document), m_limits(limits) {}

    CaError read(DataTreeNode& root) {
        while (!m_xml.atEnd() && m_problem.isEmpty()) {
            switch (m_xml.readNext()) {
            case QXmlStreamReader::DTD:
                m_problem = QStringLiteral("a document type is not allowed");
                break;
            case QXmlStreamReader::StartElement:
                startElement();
                break;
            case QXmlStreamReader::EndElement:
                endElement();
                break;
            default:
                break;
            }
        }
        if (m_problem.isEmpty() && m_xml.hasError())
            m_problem = m_xml.errorString();
        if (m_problem.isEmpty() && m_nodes == 0)
            m_problem = QStringLiteral("there is no data in it");
        if (!m_problem.isEmpty())
            return error();
        root = std::move(m_root);
        return CaError::nullError;
    }

private:
    struct OpenNode {
        DataTreeNode* node;
        QSet<QString> attributeNames;
    };

    CaError error() const {
        std::ostringstream text;
        text << "line " << m_xml.lineNumber() << ": " << m_problem;
        return malformed(text.str());
    }

    void startElement() {
        ++m_depth;
        if (m_depth == 1)
            startDocument();
        else if (m_inLeaf)
            unexpected();
        else if (m_xml.name() == dataElement)
            startNode();
        else if (m_xml.name() == attributeElement && !m_open.empty())
            readAttribute();
        else if (m_xml.name() == partElement && !m_open.empty())
            readPart();
        else
            unexpected();
    }

    void endElement() {
        --m_depth;
        if (m_inLeaf)
            m_inLeaf = false;
        else if (!m_open.empty())
            m_open.pop_back();
    }

    void unexpected() {
        m_problem = QStringLiteral("unexpected element \"%1\"").arg(m_xml.name().toString());
    }

    void startDocument() {
        if (m_xml.name() != documentElement)
            unexpected();
        else if (m_xml.attributes().value(versionName) != formatVersion)
            m_problem = QStringLiteral("unknown version \"%1\"")
                            .arg(m_xml.attributes().value(versionName).toString());
    }

    QString text(const QString& name) const {
        const QXmlStreamAttributes attributes = m_xml.attributes();
        const QString value = attributes.value(name).toString();
        return attributes.hasAttribute(escapedName) ? unescaped(value) : value;
    }

    void startNode() {
        if (m_open.empty() && m_nodes > 0)
            m_problem = QStringLiteral("more than one item at the top");
        else if (static_cast<int>(m_open.size()) >= m_limits.depth)
            m_problem = QStringLiteral("nested deeper than %1 levels").arg(m_limits.depth);
        else if (++m_nodes > m_limits.nodes)
            m_problem = QStringLiteral("more than %1 items").arg(m_limits.nodes);
        if (!m_problem.isEmpty())
            return;
        DataTreeNode* node = m_open.empty() ? &m_root : m_open.back().node->addChild({});
        node->setClassName(text(className));
        node->setId(text(idName));
        node->setKey(text(keyName));
        m_open.push_back({node, {}});
    }

    void readAttribute() {
        m_inLeaf = true;
        OpenNode& open = m_open.back();
        const QString name = text(nameName);
        if (open.attributeNames.size() >= m_limits.attributesPerNode)
            m_problem = QStringLiteral("an item with more than %1 attributes")
                            .arg(m_limits.attributesPerNode);
        else if (open.attributeNames.contains(name))
            m_problem = QStringLiteral("an item with two attributes \"%1\"").arg(name);
        open.attributeNames.insert(name);
        open.node->appendAttribute(name, text(valueName));
    }

    void readPart() {
        m_inLeaf = true;
        DataTreeNode* node = m_open.back().node;
        if (node->binaryParts().size() >= m_limits.attributesPerNode)
            m_problem = QStringLiteral("an item with more than %1 binary parts")
                            .arg(m_limits.attributesPerNode);
        else
            node->addBinaryPart(text(nameName));
    }

    QXmlStreamReader m_xml;
    const TreeLimits m_limits;
    DataTreeNode m_root;
    std::vector<OpenNode> m_open;
    int m_nodes = 0;
    int m_depth = 0;
    bool m_inLeaf = false;
    QString m_problem;
};

} // namespace

QByteArray writeTree(const DataTreeNode& root) {
    QByteArray document;
    QXmlStreamWriter xml(&document);
    xml.setAutoFormatting(true);
    xml.setAutoFormattingIndent(2);
    xml.writeStartDocument();
    xml.writeStartElement(documentElement);
    xml.writeAttribute(versionName, formatVersion);
    writeNode(xml, root);
    xml.writeEndDocument();
    return document;
}

CaError readTree(const QByteArray& document, DataTreeNode& root, const TreeLimits& limits) {
    if (document.size() > limits.bytes)
        return CaError("TreeXml::tooLarge", "more than " + std::to_string(limits.bytes) + " bytes");
    QString text;
    CaError error = checkMarkup(document);
    if (error == CaError::nullError)
        error = decode(document, text);
    return error == CaError::nullError ? Reader(text, limits).read(root) : error;
}

} // namespace vlr
