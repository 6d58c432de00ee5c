#include "Documents/TreeXml.h"

#include "Data/DataTreeNode.h"
#include "Support/TestEnvironment.h"

#include <random>

namespace {

bool isSame(const DataTreeNode& a, const DataTreeNode& b) {
    if (a.className() != b.className() || a.id() != b.id() || a.key() != b.key() ||
        a.attributes() != b.attributes() || a.binaryParts() != b.binaryParts() ||
        a.children().size() != b.children().size())
        return false;
    for (std::size_t i = 0; i < a.children().size(); ++i)
        if (!isSame(*a.children()[i], *b.children()[i]))
            return false;
    return true;
}

// Expects that reader and writer agree about the tree; returns whether they take it.
bool isTaken(const DataTreeNode& tree, const vlr::TreeLimits& limits) {
    QByteArray checked("untouched");
    const CaError writing = vlr::writeTree(tree, checked, limits);
    const QByteArray unchecked = vlr::writeTree(tree);
    DataTreeNode read(QStringLiteral("untouched"));
    const CaError reading = vlr::readTree(unchecked, read, limits);
    const bool isAccepted = writing == CaError::nullError;
    EXPECT_EQ(reading == CaError::nullError, isAccepted) << writing << " / " << reading;
    EXPECT_EQ(checked, isAccepted ? unchecked : QByteArray("untouched"));
    EXPECT_EQ(isSame(read, tree), isAccepted) << unchecked.data();
    return isAccepted;
}

// Trees on both sides of small limits, with texts in which everything occurs that is special.
class RandomTree {
public:
    static constexpr int depth = 4;
    static constexpr int items = 12;
    static constexpr int attributes = 4;

    DataTreeNode make() {
        DataTreeNode root(text());
        m_items = 1;
        fill(root, 1);
        return root;
    }

    int below(unsigned end) { return static_cast<int>(m_random() % end); }

private:
    QString text() {
        static const ushort odd[] = {0,      1,      0x1F,   '\t',   '\n',   '\r',   '"',    '<',
                                     '>',    '&',    '\'',   '\\',   'u',    '0',    ' ',    0x7F,
                                     0x80,   0x7FF,  0x800,  0x2028, 0xD800, 0xDBFF, 0xDC00, 0xDFFF,
                                     0xFDD0, 0xFEFF, 0xFFFD, 0xFFFE, 0xFFFF};
        QString result;
        for (int i = below(6); i > 0; --i)
            result += QChar(below(2) == 0 ? odd[below(std::size(odd))]
                                          : static_cast<ushort>(m_random() & 0xFFFFU));
        return result;
    }

    // Seldom the same twice, but sometimes.
    QString name() { return below(30) == 0 ? QStringLiteral("name") : text() + text(); }

    void fill(DataTreeNode& node, int level) {
        node.setId(text());
        node.setKey(text());
        for (int i = below(attributes + 2); i > 0; --i)
            node.appendAttribute(name(), text());
        for (int i = below(below(8) == 0 ? attributes + 2 : 2); i > 0; --i)
            node.addBinaryPart(name());
        for (int i = below(4); i > 0 && level <= depth && m_items <= items; --i) {
            ++m_items;
            fill(*node.addChild(text()), level + 1);
        }
    }

    std::mt19937 m_random{5};
    int m_items = 0;
};

} // namespace

TEST(TreeXml, HasOneLineForEachAttribute) {
    DataTreeNode root(QStringLiteral("A"));
    root.setId(QStringLiteral("a<>&\"'\t\r\n b"));
    root.appendAttribute(QStringLiteral("n"), QString::fromUtf8("Zoë 山 \xF0\x9F\x98\x80"));
    root.appendAttribute(QStringLiteral("back\\"), QString(QChar(1)));
    root.addBinaryPart(QStringLiteral("raw"));
    root.addChild(QStringLiteral("B"))->setKey(QStringLiteral("k"));
    root.addChild(QStringLiteral("C"))->addChild(QStringLiteral("D"));
    EXPECT_EQ(vlr::writeTree(root), QByteArray(R"(<?xml version="1.0" encoding="UTF-8"?>
<vlr version="1">
  <data class="A" id="a&lt;&gt;&amp;&quot;'&#9;&#13;&#10; b">
    <attribute name="n" value="Zoë 山 😀"/>
    <attribute name="back\\" value="\u0001" escaped="1"/>
    <part name="raw"/>
    <data class="B" id="" key="k"/>
    <data class="C" id="">
      <data class="D" id=""/>
    </data>
  </data>
</vlr>
)"));
}

// A text that is longer than the buffer grows by, with pairs that no cut may separate.
TEST(TreeXml, CarriesLongTexts) {
    const QString pair = QString::fromUtf8("\xF0\x9F\x98\x80");
    for (const QString& begin : {QString(), QStringLiteral("x")}) {
        DataTreeNode node(begin + pair.repeated(30000) + QString(100000, QLatin1Char('"')));
        EXPECT_TRUE(isTaken(node, {}));
    }
}

TEST(TreeXml, TakesExactlyWhatItCanReadAgain) {
    RandomTree random;
    int taken = 0;
    int refused = 0;
    for (int i = 0; i < 3000; ++i) {
        const DataTreeNode tree = random.make();
        const vlr::TreeLimits limits{1000 + random.below(2000), RandomTree::depth,
                                     RandomTree::items, RandomTree::attributes};
        ++(isTaken(tree, limits) ? taken : refused);
    }
    EXPECT_GT(taken, 500);
    EXPECT_GT(refused, 500);
}

TEST(TreeXml, RefusesWhatIsDamagedOrTooMuch) {
    const QByteArray begin = "<?xml version=\"1.0\"?><vlr version=\"1\">";
    const QByteArray item = "<data class=\"A\" id=\"\">";
    const QString text = QString::fromUtf8(begin + item + "</data></vlr>");
    const QByteArray utf16(reinterpret_cast<const char*>(text.utf16()), 2 * text.size());
    const std::pair<QByteArray, const char*> cases[] = {
        {"", "no element found"},
        {begin + "</vlr>", "no data"},
        {begin + item + "</data>" + item + "</data></vlr>", "more than one"},
        {begin + item.repeated(100000), "nested deeper"},
        {begin + item + "<data class=\"B\"/>", "line 1"},
        {begin + "<attribute name=\"a\" value=\"b\"/></vlr>", "unexpected"},
        {begin + item + "<script/></data></vlr>", "unexpected"},
        {begin + item + "<attribute name=\"a\"><data/></attribute></data></vlr>", "unexpected"},
        {"<vlr version=\"2\">" + item + "</data></vlr>", "unknown version"},
        {"<!DOCTYPE vlr [<!ENTITY a \"b\">]>" + begin.mid(21) + item, "document type"},
        {begin + item + "<attribute name=\"a\"/><attribute name=\"a\"/></data></vlr>", "two"},
        {begin + item + "\xff</data></vlr>", "UTF-8"},
        {begin + "<data class=\"\xc3 \"/></vlr>", "UTF-8"},
        {"<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>" + begin.mid(21) + item + "\xe4",
         "UTF-8"},
        {utf16, "UTF-8"},
        {"\xff\xfe" + utf16, "UTF-8"},
        {begin + item + "&other;</data></vlr>", "undefined entity"},
        {begin + "<data class=\"a\" class=\"b\"/></vlr>", "duplicate attribute"},
        {begin + "\n\n" + item + "<!-- \n -->\n<script/></data></vlr>", "line 5: unexpected"},
        {begin + "\n\n<data" + QByteArray(" a=\"\"").repeated(17) + "/></vlr>",
         "line 3: an element with more than"},
        {QByteArray(5 << 20, ' '), "bytes"},
    };
    for (const auto& [document, cause] : cases) {
        DataTreeNode node(QStringLiteral("untouched"));
        EXPECT_THAT(vlr::readTree(document, node).text(), testing::HasSubstr(cause));
        EXPECT_EQ(node.className(), QStringLiteral("untouched"));
    }
}

// Reader and writer draw the line at the same length of an element.
TEST(TreeXml, ElementsThatAreTooLongAreNeitherReadNorWritten) {
    const vlr::TreeLimits limits{qint64(64) << 20};
    const int rest = QByteArray("<attribute name=\"a\" value=\"\"/>").size();
    for (const int excess : {0, 1}) {
        DataTreeNode root(QStringLiteral("DataItem"));
        root.appendAttribute(QStringLiteral("a"), QString((4 << 20) - rest + excess, u'x'));
        QByteArray document;
        EXPECT_EQ(vlr::writeTree(root, document, limits).isNull(), excess == 0);
        DataTreeNode read;
        const CaError error = vlr::readTree(vlr::writeTree(root), read, limits);
        EXPECT_EQ(error.isNull(), excess == 0) << error.text();
    }
}
