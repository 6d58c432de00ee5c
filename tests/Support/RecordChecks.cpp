#include "Support/RecordChecks.h"

#include "Data/CaFactory.h"
#include "Documents/TreeXml.h"

#include <gtest/gtest.h>

namespace vlrTest {

DataTreeNode saved(const Data& item) {
    DataTreeNode node;
    EXPECT_EQ(item.save(node), CaError::nullError);
    return node;
}

namespace {

// What a record of the class makes of the node.
DataTreeNode loadedAndSaved(CaFactory& factory, DataTreeNode node) {
    const DataPointer<Data> record(factory.createInstance());
    const CaError error = record->load(node);
    // Only an attribute that is missing or malformed may be reported.
    EXPECT_TRUE(error == CaError::nullError || error.id() == missingAttributeError ||
                error.id() == malformedAttributeError)
        << error.text();
    return saved(*record);
}

bool isNumber(const QString& text) {
    bool result = false;
    text.toDouble(&result);
    return result;
}

// An empty text may be that of a text, a date, a time or a size.
QStringList otherValues(const QString& text) {
    const QString texts[] = {QString::fromUtf8(" <other> \u00fc & \n"),
                             QStringLiteral("2001-02-03"), QStringLiteral("21:22:23.456")};
    if (!isNumber(text))
        return {texts[0], texts[1], texts[2]};
    const double value = text.toDouble();
    return {QString::number(value + 1), QString::number(value - 1), QString::number(value / 2),
            QStringLiteral("0"), QStringLiteral("1")};
}

// Another value that the class takes; null when it takes none.
QString acceptedValue(CaFactory& factory, const DataTreeNode& node,
                      const DataTreeNode::Attribute& attribute) {
    for (const QString& value : otherValues(attribute.second)) {
        if (value == attribute.second)
            continue;
        DataTreeNode changed(node);
        changed.setAttribute(attribute.first, value);
        if (loadedAndSaved(factory, changed).attribute(attribute.first) == value)
            return value;
    }
    return {};
}

void checkMalformed(CaFactory& factory, const DataTreeNode& defaults,
                    const DataTreeNode::Attribute& attribute) {
    if (!isNumber(attribute.second))
        return; // There is nothing malformed about a text.
    for (const char* malformed : {"", "seven", "99999999999999999999", "nan", "-"}) {
        DataTreeNode changed(defaults);
        changed.setAttribute(attribute.first, QString::fromLatin1(malformed));
        EXPECT_EQ(vlr::writeTree(loadedAndSaved(factory, changed)), vlr::writeTree(defaults))
            << attribute.first.toStdString() << '=' << malformed;
    }
}

void checkRecord(CaFactory& factory) {
    const DataPointer<Data> record(factory.createInstance());
    const DataTreeNode defaults = saved(*record);
    EXPECT_EQ(vlr::writeTree(loadedAndSaved(factory, DataTreeNode(defaults.className()))),
              vlr::writeTree(defaults))
        << "without any attribute";
    DataTreeNode changed(defaults);
    for (const auto& attribute : defaults.attributes()) {
        const QString value = acceptedValue(factory, defaults, attribute);
        EXPECT_FALSE(value.isNull()) << attribute.first.toStdString() << " is not read";
        changed.setAttribute(attribute.first, value);
        checkMalformed(factory, defaults, attribute);
    }
    const DataTreeNode once = loadedAndSaved(factory, changed);
    for (const auto& attribute : changed.attributes())
        EXPECT_EQ(once.attribute(attribute.first), attribute.second)
            << attribute.first.toStdString();
    const QByteArray text = vlr::writeTree(once);
    DataTreeNode read;
    ASSERT_EQ(vlr::readTree(text, read), CaError::nullError);
    EXPECT_EQ(vlr::writeTree(loadedAndSaved(factory, read)), text);
}

} // namespace

void checkRegisteredRecords() {
    EXPECT_FALSE(Data::getFactory().empty());
    for (const auto& entry : Data::getFactory()) {
        SCOPED_TRACE(entry.first);
        checkRecord(*entry.second);
    }
}

void checkSubRecords(const std::vector<SubRecordAccess>& accesses) {
    for (const SubRecordAccess& each : accesses) {
        const DataPointer<Data> owner = each.makeOwner();
        const DataPointer<Data> made = each.access(*owner);
        SCOPED_TRACE(made->id().toStdString());
        EXPECT_EQ(each.access(*owner), made);
        EXPECT_EQ(owner->childCount(), 1);

        const DataPointer<Data> other = each.makeOwner();
        const DataPointer<Data> wrong(new Data(made->id()));
        ASSERT_EQ(other->addChild(wrong, true), CaError::nullError);
        const DataPointer<Data> repaired = each.access(*other);
        EXPECT_NE(repaired, wrong);
        EXPECT_TRUE(repaired->getClassId() == made->getClassId());
        EXPECT_EQ(repaired->id(), made->id());
        EXPECT_EQ(other->childCount(), 1);
        EXPECT_EQ(wrong->parent(), nullptr);
    }
}

} // namespace vlrTest
