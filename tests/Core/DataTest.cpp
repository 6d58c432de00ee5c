#include "Data/ConfigurationRecord.h"
#include "Data/DataItem.h"
#include "Data/DataIterator.h"
#include "Data/Patient.h"
#include "Documents/TreeXml.h"
#include "Support/RecordChecks.h"
#include "Support/TestEnvironment.h"

#include <map>
#include <random>

namespace {

DataPointer<Data> makeItem(const char* id) {
    DataPointer<Data> item(new DataItem);
    item->setId(QString::fromLatin1(id));
    return item;
}

void add(const DataPointer<Data>& parent, const DataPointer<Data>& child) {
    ASSERT_EQ(parent->addChild(child, false), CaError::nullError);
}

class Measurement : public DataRecord<Measurement, Data> {
public:
    static constexpr const char* className = "Measurement";
    double length = 0;
    QStringList numbered;

protected:
    ~Measurement() override = default;
    CaError doSave(DataTreeNode* node, QMap<QString, QString>& references) const override {
        const CaError error = DataRecord::doSave(node, references);
        for (int i = 0; i < numbered.size(); ++i)
            vlr::writeAttribute(*node, QString::number(i), numbered.at(i));
        return error;
    }
    CaError doLoad(DataTreeNode* node, QMap<QString, Data*>& references) override {
        const CaError error = DataRecord::doLoad(node, references);
        numbered.clear();
        QString value;
        while (vlr::readAttribute(*node, QString::number(numbered.size()), value) ==
               CaError::nullError)
            numbered << value;
        return node->hasAttribute(QStringLiteral("refused")) ? CaError("refused") : error;
    }

private:
    friend struct ::RecordAccess;
    static constexpr auto attributes() {
        return std::make_tuple(attribute("length", &Measurement::length));
    }
};

void expectFirstChildIsFound(const Data& parent) {
    std::map<QString, DataPointer<Data>> first;
    for (int i = 0; i < parent.childCount(); ++i)
        first.emplace(parent.child(i)->id(), parent.child(i));
    for (const auto& each : first)
        ASSERT_EQ(parent.hasChildAndGet(each.first), each.second) << each.first.toStdString();
    for (int id = 0; id < 99; ++id) {
        const QString text = QString::number(id);
        ASSERT_EQ(parent.hasChildAndGet(text) != nullptr, first.count(text) == 1) << id;
    }
}

} // namespace

TEST(Data, DiesWithItsLastReferenceAndItsChildrenWithIt) {
    DataPointer<Data> parent = makeItem("parent");
    DataPointer<Data> child = makeItem("child");
    std::string gone;
    const CaConnection ofParent(*parent, Data::DELETED, [&](auto&&...) { gone += 'p'; });
    const CaConnection ofChild(*child, Data::DELETED, [&](auto&&...) { gone += 'c'; });
    add(parent, child);
    child = nullptr;
    EXPECT_EQ(gone, "");

    DataPointer<Data> held = parent->child(0);
    parent = nullptr;
    EXPECT_EQ(gone, "p");
    EXPECT_EQ(held->parent(), nullptr);
    held = nullptr;
    EXPECT_EQ(gone, "pc");
}

TEST(Data, IsDestroyedOnceWhateverIsAskedMeanwhile) {
    DataPointer<Data> item = makeItem("item");
    Data* const address = item.get();
    DataPointer<Data> kept;
    int deletions = 0;
    const CaConnection onDeletion(*item, Data::DELETED, [&](auto&&...) {
        ++deletions;
        const DataPointer<Data> asked = address;
        kept = asked;
    });
    vlrTest::expectLog(vlr::LogLevel::Error, "\"item\" was destroyed, but 1 pointers");
    item = nullptr;
    EXPECT_EQ(deletions, 1);
    kept.forget();
}

TEST(Data, RefusesChildrenThatWouldBreakTheTree) {
    const DataPointer<Data> root = makeItem("root");
    const DataPointer<Data> child = makeItem("child");
    add(root, child);
    EXPECT_NE(root->addChild(nullptr, true), CaError::nullError);
    EXPECT_NE(root->addChild(root, true), CaError::nullError);
    EXPECT_NE(child->addChild(root, true), CaError::nullError);
    EXPECT_NE(root->addChild(makeItem("child"), true), CaError::nullError);
    EXPECT_EQ(root->addChild(makeItem(""), true), CaError::nullError);
    EXPECT_EQ(root->addChild(makeItem(""), true), CaError::nullError);
    EXPECT_EQ(root->childCount(), 3);

    DataPointer<Data> deepest = root;
    int levels = 1;
    for (;; ++levels) {
        const DataPointer<Data> next = makeItem("level");
        if (deepest->addChild(next, false) != CaError::nullError)
            break;
        deepest = next;
    }
    EXPECT_EQ(levels, Data::maximumDepth);
}

TEST(Data, AChildMovesToItsNewParentAndObserversAreTold) {
    const DataPointer<Data> from = makeItem("from");
    const DataPointer<Data> to = makeItem("to");
    const DataPointer<Data> child = makeItem("child");
    std::vector<std::string> told;
    const auto tell = [&](CaSubject* subject, void*, const char* event, void* data) {
        EXPECT_EQ(data, child.get());
        told.push_back(static_cast<Data*>(subject)->id().toStdString() + event);
    };
    CaConnection removed(*from, Data::CHILD_REMOVED, tell);
    CaConnection added(*to, Data::CHILD_ADDED, tell);

    ASSERT_EQ(from->addChild(child, true), CaError::nullError);
    ASSERT_EQ(to->addChild(child, true), CaError::nullError);
    EXPECT_EQ(child->parent(), to.get());
    EXPECT_EQ(from->childCount(), 0);
    EXPECT_THAT(told, testing::ElementsAre("fromData::CHILD_REMOVED", "toData::CHILD_ADDED"));

    EXPECT_NE(to->removeChild(QStringLiteral("unknown")), CaError::nullError);
    EXPECT_EQ(to->removeChild(QStringLiteral("child")), CaError::nullError);
    EXPECT_EQ(child->parent(), nullptr);
}

// Against a look at all children. Some ids meet, some are empty.
TEST(Data, FindsTheFirstChildWithAnIdWhateverHappened) {
    std::mt19937 random(7);
    const auto below = [&](unsigned end) { return static_cast<int>(random() % end); };
    const DataPointer<Data> parents[] = {makeItem("a"), makeItem("b")};
    const auto isTaken = [](const DataPointer<Data>& parent, const QString& id) {
        for (int i = 0; i < parent->childCount(); ++i)
            if (parent->child(i)->id() == id)
                return !id.isEmpty();
        return false;
    };
    vlrTest::expectLog(vlr::LogLevel::Warning, "several children with the same id");
    for (int step = 0; step < 5000; ++step) {
        const DataPointer<Data>& parent = parents[below(2)];
        const DataPointer<Data>& other = parents[parent == parents[0]];
        const QString id = below(5) == 0 ? QString() : QString::number(below(99));
        const DataPointer<Data> child = parent->child(below(50));
        const int action = child ? below(20) : 0;
        if (action < 9) {
            const DataPointer<Data> added = makeItem(id.toLatin1().constData());
            const bool isRefused = isTaken(parent, id);
            EXPECT_EQ(parent->addChild(added, true) != CaError::nullError, isRefused);
        } else if (action < 12) {
            child->setId(id);
        } else if (action < 13) {
            *child = *makeItem(id.toLatin1().constData());
        } else if (action < 15) {
            EXPECT_EQ(parent->removeChild(child.get()), CaError::nullError);
        } else if (action < 18) {
            const bool isRefused = isTaken(other, child->id());
            EXPECT_EQ(other->addChild(child, true) != CaError::nullError, isRefused);
        } else if (step % 10 == 0) {
            DataTreeNode node = vlrTest::saved(*parent);
            ASSERT_EQ(parent->load(node), CaError::nullError); // loses none of two with one id
            EXPECT_EQ(vlr::writeTree(vlrTest::saved(*parent)), vlr::writeTree(node)) << step;
        } else {
            DataTreeNode node(child->getClassId().toQString());
            node.setId(id);
            ASSERT_EQ(child->load(node), CaError::nullError);
            ASSERT_EQ(parent->saveValues(node), CaError::nullError);
            ASSERT_EQ(parent->restoreValues(node), CaError::nullError);
        }
        for (const auto& each : parents)
            ASSERT_NO_FATAL_FAILURE(expectFirstChildIsFound(*each)) << "step " << step;
    }
    EXPECT_GT(parents[0]->childCount() + parents[1]->childCount(), 40);
}

TEST(DataIterator, VisitsParentsBeforeChildrenAndSiblingsInOrder) {
    const DataPointer<Data> root = makeItem("root");
    const DataPointer<Data> a = makeItem("a");
    add(root, a);
    add(root, makeItem("b"));
    add(a, makeItem("a1"));
    add(a, makeItem("a2"));
    QStringList ids;
    DataIterator it(root);
    while (const DataPointer<Data> item = it.next())
        ids << item->id();
    EXPECT_EQ(ids.join(QLatin1Char(' ')), QStringLiteral("a a1 a2 b"));
    EXPECT_FALSE(DataIterator(nullptr).next());

    DataIterator interrupted(root);
    interrupted.next();
    ASSERT_EQ(root->removeChild(a.get()), CaError::nullError);
    while (interrupted.next())
        ;
}

TEST(Data, KeepsItemsOfUnknownClassesWordForWordAndTakesThemForItems) {
    DataTreeNode node(QStringLiteral("Patient"));
    DataTreeNode* const foreign = node.addChild(QStringLiteral("ForeignRecord"));
    foreign->setId(QStringLiteral("x"));
    foreign->setKey(QStringLiteral("key"));
    foreign->setAttribute(QStringLiteral("speed"), QStringLiteral("5"));
    foreign->setBinaryParts({QStringLiteral("raw")});
    DataTreeNode* deepest = foreign;
    for (int level = 1; level < 30; ++level)
        deepest = deepest->addChild(QStringLiteral("ForeignPart"));
    const DataPointer<Patient> patient(new Patient);
    ASSERT_EQ(patient->load(node), CaError::nullError);
    const DataPointer<Data> item = patient->child(0);
    EXPECT_EQ(item->getClassId(), _vlr::StringMixer("ForeignRecord"));
    EXPECT_EQ(vlr::writeTree(vlrTest::saved(*item)), vlr::writeTree(*foreign));
    add(item, makeItem("added"));
    EXPECT_EQ(vlrTest::saved(*item).children().back()->id(), QStringLiteral("added"));

    const DataPointer<Data> root = makeItem("root");
    DataPointer<Data> other = root;
    for (int level = 1; level < 32; ++level) {
        add(other, makeItem("level"));
        other = other->child(0);
    }
    item->removeBinaryPart(QStringLiteral("raw")); // It would have to be read.
    EXPECT_THAT(other->addChild(item, false).text(), testing::HasSubstr("60 levels"));
}

TEST(Data, AFailedLoadLeavesTheItemAsItWas) {
    const DataPointer<Patient> patient(new Patient);
    patient->setName(QStringLiteral("Before"));
    patient->setId(QStringLiteral("before"));
    add(patient, makeItem("kept"));

    const RecordFactory<Measurement> factory;
    DataTreeNode refusing(QStringLiteral("Patient"));
    refusing.setId(QStringLiteral("after"));
    refusing.setAttribute(QStringLiteral("Name"), QStringLiteral("After"));
    refusing.addChild(QStringLiteral("Measurement"))
        ->setAttribute(QStringLiteral("refused"), QString());
    DataTreeNode other(QStringLiteral("Study"));
    for (DataTreeNode* node : {&refusing, &other}) {
        EXPECT_NE(patient->load(*node), CaError::nullError);
        EXPECT_EQ(patient->name(), QStringLiteral("Before"));
        EXPECT_EQ(patient->id(), QStringLiteral("before"));
        EXPECT_TRUE(patient->hasChildAndGet(QStringLiteral("kept")));
    }
}

// --- attributes

TEST(Data, RestoredValuesLeaveChildrenAndPartsAlone) {
    const DataPointer<DataItem> item(new DataItem);
    item->setId(QStringLiteral("before"));
    DataTreeNode values;
    ASSERT_EQ(item->saveValues(values), CaError::nullError);
    item->setId(QStringLiteral("after"));
    item->setBinaryPart(QStringLiteral("part"), "bytes");
    ASSERT_EQ(item->addChild(new DataItem, false), CaError::nullError);
    ASSERT_EQ(item->restoreValues(values), CaError::nullError);
    EXPECT_EQ(item->id(), QStringLiteral("before"));
    EXPECT_EQ(item->binaryParts(), QStringList(QStringLiteral("part")));
    EXPECT_EQ(item->childCount(), 1);
}

TEST(DataRecord, KeepsTheAttributesOfOtherVersionsButNoneItGaveUp) {
    DataTreeNode node(QStringLiteral("Measurement"));
    for (const char* name : {"newer", "0", "length", "1", "2", "4"})
        node.setAttribute(QLatin1String(name), QLatin1String(name));
    const DataPointer<Measurement> item(new Measurement);
    ASSERT_EQ(item->load(node), CaError::nullError);
    EXPECT_EQ(item->numbered.size(), 3);
    item->numbered.removeLast();
    for (int round = 0; round < 2; ++round) {
        DataTreeNode saved = vlrTest::saved(*item);
        EXPECT_EQ(saved.attribute(QStringLiteral("newer")), QStringLiteral("newer"));
        EXPECT_EQ(saved.attribute(QStringLiteral("length")), QStringLiteral("0"));
        EXPECT_TRUE(saved.hasAttribute(QStringLiteral("4")));
        EXPECT_FALSE(saved.hasAttribute(QStringLiteral("2")));
        ASSERT_EQ(item->load(saved), CaError::nullError);
    }
}

TEST(DataRecord, NumbersComeBackExactlyOrNotAtAll) {
    const DataPointer<Measurement> item(new Measurement);
    for (const double value : {0.1, 1.0 / 3, 1234.56789, -5e-324, 1.7976931348623157e308}) {
        item->length = value;
        DataTreeNode node = vlrTest::saved(*item);
        item->length = 7;
        ASSERT_EQ(item->load(node), CaError::nullError);
        EXPECT_EQ(item->length, value);
    }
    double length = 7;
    DataTreeNode node;
    const QString name = QStringLiteral("a");
    for (const char* text : {"12 or more", "1,5", "0x", "0 1"}) {
        node.setAttribute(name, QLatin1String(text));
        EXPECT_EQ(vlr::readAttribute(node, name, length).id(), malformedAttributeError) << text;
    }
    EXPECT_EQ(length, 7);
}

TEST(DataRecord, AnEmptyTextReplacesTheOldOneAndAMissingOneDoesNot) {
    DataTreeNode node;
    std::string text = "old";
    const QString name = QStringLiteral("a");
    EXPECT_EQ(vlr::readAttribute(node, name, text).id(), missingAttributeError);
    EXPECT_EQ(text, "old");
    node.setAttribute(name, QString());
    EXPECT_EQ(vlr::readAttribute(node, name, text), CaError::nullError);
    EXPECT_EQ(text, "");
}

TEST(RecordFactory, TheFirstRegistrationWinsAndACopyEntersNothing) {
    EXPECT_EQ(createPatientFactory(), 1);
    CaFactory* const first = Data::getFactory().at("Patient");
    {
        PatientFactory second;
        PatientFactory copy(second);
        copy = second;
        EXPECT_EQ(Data::getFactory().at("Patient"), first);
        const DataPointer<Data> made(second.createInstance());
        EXPECT_TRUE(made->isA("Patient") && made->isA(Data::classId()));
        EXPECT_FALSE(made->isA(DataItem::classId()));
    }
    EXPECT_EQ(Data::getFactory().at("Patient"), first);
    EXPECT_EQ(createPatientFactory(), 1);
    EXPECT_EQ(Data::getFactory().at("Patient"), first);
}
