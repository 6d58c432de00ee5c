#include "Data/ChildItem.h"
#include "Data/ConfigurationRecord.h"
#include "Data/DataItem.h"
#include "Data/DataIterator.h"
#include "Data/Patient.h"
#include "Data/ProcessData.h"
#include "Data/Study.h"
#include "IO/TreeXml.h"
#include "Support/TestEnvironment.h"

#include <gtest/gtest.h>
#include <map>
#include <random>

namespace {

DataPointer<Data> makeItem(const char* id) {
    DataPointer<Data> item(new DataItem);
    item->setId(QString::fromLatin1(id));
    return item;
}

class Measurement : public DataRecord<Measurement, Data> {
public:
    static constexpr const char* className = "Measurement";
    double length = 0;
    int count = 0;
    bool isDone = false;
    std::string note;
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
        return std::make_tuple(
            attribute("length", &Measurement::length), attribute("count", &Measurement::count),
            attribute("isDone", &Measurement::isDone), attribute("note", &Measurement::note));
    }
};

QStringList descendants(const DataPointer<Data>& root) {
    QStringList ids;
    DataIterator it(root);
    while (const DataPointer<Data> item = it.next())
        ids << item->id();
    return ids;
}

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

struct DeletionCount {
    explicit DeletionCount(Data& item)
        : connection(item, Data::DELETED, [this](auto*, auto*, auto*, auto*) { ++count; }) {}
    int count = 0;
    CaConnection connection;
};

} // namespace

TEST(Data, DiesWithItsLastReferenceAndItsChildrenWithIt) {
    DataPointer<Data> parent = makeItem("parent");
    DataPointer<Data> child = makeItem("child");
    DeletionCount parentGone(*parent);
    DeletionCount childGone(*child);
    ASSERT_EQ(parent->addChild(child, false), CaError::nullError);
    child = nullptr;
    EXPECT_EQ(childGone.count, 0);

    DataPointer<Data> held = parent->child(0);
    parent = nullptr;
    EXPECT_EQ(parentGone.count, 1);
    EXPECT_EQ(childGone.count, 0);
    EXPECT_EQ(held->parent(), nullptr);
    held = nullptr;
    EXPECT_EQ(childGone.count, 1);
}

TEST(Data, RefusesChildrenThatWouldBreakTheTree) {
    const DataPointer<Data> root = makeItem("root");
    const DataPointer<Data> child = makeItem("child");
    ASSERT_EQ(root->addChild(child, false), CaError::nullError);
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
    EXPECT_EQ(told, (std::vector<std::string>{"fromData::CHILD_REMOVED", "toData::CHILD_ADDED"}));

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
            DataTreeNode node;
            ASSERT_EQ(parent->save(node), CaError::nullError);
            ASSERT_EQ(parent->load(node), CaError::nullError);
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
    const DataPointer<Data> b = makeItem("b");
    ASSERT_EQ(root->addChild(a, false), CaError::nullError);
    ASSERT_EQ(root->addChild(b, false), CaError::nullError);
    ASSERT_EQ(a->addChild(makeItem("a1"), false), CaError::nullError);
    ASSERT_EQ(a->addChild(makeItem("a2"), false), CaError::nullError);
    EXPECT_EQ(descendants(root).join(QLatin1Char(' ')), QStringLiteral("a a1 a2 b"));
    EXPECT_TRUE(descendants(nullptr).isEmpty());

    DataIterator it(root);
    it.next();
    ASSERT_EQ(root->removeChild(a.get()), CaError::nullError);
    while (it.next())
        ;
}

TEST(Data, KeepsItemsOfUnknownClassesWordForWord) {
    DataTreeNode node(QStringLiteral("Patient"));
    DataTreeNode* foreign = node.addChild(QStringLiteral("ForeignRecord"));
    foreign->setId(QStringLiteral("x"));
    foreign->setKey(QStringLiteral("key"));
    foreign->setAttribute(QStringLiteral("speed"), QStringLiteral("5"));
    foreign->setBinaryParts({QStringLiteral("raw")});
    foreign->addChild(QStringLiteral("ForeignPart"))
        ->setAttribute(QStringLiteral("a"), QStringLiteral("b"));

    const DataPointer<Patient> patient(new Patient);
    ASSERT_EQ(patient->load(node), CaError::nullError);
    EXPECT_EQ(patient->child(0)->getClassId(), _vlr::StringMixer("ForeignRecord"));
    DataTreeNode saved;
    ASSERT_EQ(patient->save(saved), CaError::nullError);
    EXPECT_EQ(saved.children().size(), 1U);
    EXPECT_EQ(vlr::writeTree(*saved.children().front()), vlr::writeTree(*foreign));
}

TEST(Data, AFailedLoadLeavesTheItemAsItWas) {
    const DataPointer<Patient> patient(new Patient);
    patient->setName(QStringLiteral("Before"));
    patient->setId(QStringLiteral("before"));
    ASSERT_EQ(patient->addChild(makeItem("kept"), false), CaError::nullError);

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

TEST(Data, TwinsAreKeptWithAWarning) {
    const DataPointer<Data> root = makeItem("root");
    ASSERT_EQ(root->addChild(makeItem("a"), false), CaError::nullError);
    ASSERT_EQ(root->addChild(makeItem("b"), false), CaError::nullError);
    root->child(1)->setId(QStringLiteral("a"));
    DataTreeNode node;
    ASSERT_EQ(root->save(node), CaError::nullError);
    vlrTest::expectLog(vlr::LogLevel::Warning, "\"root\" has several children with the same id");
    ASSERT_EQ(root->load(node), CaError::nullError);
    EXPECT_EQ(descendants(root).join(QLatin1Char(' ')), QStringLiteral("a a"));
    EXPECT_EQ(vlrTest::logRecords().size(), 1U);
}

TEST(Data, AnItemOfAnUnknownClassIsAnItemLikeOthers) {
    DataTreeNode node(QStringLiteral("Patient"));
    DataTreeNode* deepest = &node;
    for (int i = 0; i < 30; ++i)
        deepest = deepest->addChild(QStringLiteral("Foreign"));
    const DataPointer<Patient> patient(new Patient);
    ASSERT_EQ(patient->load(node), CaError::nullError);
    ASSERT_EQ(patient->child(0)->addChild(makeItem("added"), false), CaError::nullError);
    DataTreeNode saved;
    ASSERT_EQ(patient->save(saved), CaError::nullError);
    EXPECT_EQ(saved.children().front()->children().back()->id(), QStringLiteral("added"));

    DataPointer<Data> other = makeItem("other");
    const DataPointer<Data> root = other;
    for (int i = 0; i < 31; ++i) {
        const DataPointer<Data> next = makeItem("level");
        ASSERT_EQ(other->addChild(next, false), CaError::nullError);
        other = next;
    }
    EXPECT_NE(other->addChild(patient->child(0), false), CaError::nullError);
}

// --- attributes

TEST(DataRecord, KeepsTheAttributesOfOtherVersionsButNoneItGaveUp) {
    DataTreeNode node(QStringLiteral("Measurement"));
    for (const char* name : {"newer", "0", "length", "1", "2", "4"})
        node.setAttribute(QLatin1String(name), QLatin1String(name));
    const DataPointer<Measurement> item(new Measurement);
    ASSERT_EQ(item->load(node), CaError::nullError);
    EXPECT_EQ(item->numbered.size(), 3);
    item->numbered.removeLast();
    for (int round = 0; round < 2; ++round) {
        DataTreeNode saved;
        ASSERT_EQ(item->save(saved), CaError::nullError);
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
        DataTreeNode node;
        ASSERT_EQ(item->save(node), CaError::nullError);
        item->length = 7;
        ASSERT_EQ(item->load(node), CaError::nullError);
        EXPECT_EQ(item->length, value);
    }
    double length = 7;
    int count = 7;
    bool isDone = true;
    DataTreeNode node;
    for (const char* text : {"12 or more", "1,5", "1.5.2", "0x", "0 1"}) {
        node.setAttribute(QStringLiteral("a"), QLatin1String(text));
        for (const CaError& error : {vlr::readAttribute(node, QStringLiteral("a"), length),
                                     vlr::readAttribute(node, QStringLiteral("a"), count),
                                     vlr::readAttribute(node, QStringLiteral("a"), isDone)})
            EXPECT_EQ(error.id(), malformedAttributeError) << text;
    }
    EXPECT_TRUE(length == 7 && count == 7 && isDone);
    node.setAttribute(QStringLiteral("a"), QStringLiteral(" 12 "));
    EXPECT_EQ(vlr::readAttribute(node, QStringLiteral("a"), count), CaError::nullError);
    EXPECT_EQ(count, 12);
}

TEST(DataRecord, AnEmptyTextReplacesTheOldOneAndIsNoNumber) {
    DataTreeNode node;
    ASSERT_EQ(DataPointer<Patient>(new Patient)->save(node), CaError::nullError);
    const DataPointer<Patient> used(new Patient);
    used->setName(QStringLiteral("Other^Person"));
    used->setBirthDate(QDate(1950, 1, 1));
    ASSERT_EQ(used->load(node), CaError::nullError);
    EXPECT_EQ(used->name(), QString());
    EXPECT_FALSE(used->birthDate().isValid());

    std::string text = "old";
    int number = 7;
    const QString name = QStringLiteral("a");
    EXPECT_EQ(vlr::readAttribute(node, name, text).id(), missingAttributeError);
    EXPECT_EQ(text, "old");
    node.setAttribute(name, QString());
    EXPECT_EQ(vlr::readAttribute(node, name, text), CaError::nullError);
    EXPECT_EQ(text, "");
    EXPECT_EQ(vlr::readAttribute(node, name, number).id(), missingAttributeError);
    EXPECT_EQ(number, 7);
}

// --- the identity of the core records

TEST(DataRecord, KnowsItsClassItsBasesAndItsFactory) {
    struct Case {
        int registered;
        const char* name;
        bool isDataItem;
    };
    const Case cases[] = {
        {createPatientFactory(), "Patient", false},
        {createStudyFactory(), "Study", false},
        {createDataItemFactory(), "DataItem", true},
        {createProcessDataFactory(), "ProcessData", false},
        {createChildItemFactory(), "ChildItem", false},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(c.registered, 1) << c.name;
        const DataPointer<Data> item(Data::createInstance(QString::fromLatin1(c.name)));
        ASSERT_TRUE(item) << c.name;
        EXPECT_EQ(item->getClassId(), _vlr::StringMixer(c.name));
        EXPECT_TRUE(item->isA(c.name));
        EXPECT_TRUE(item->isA(Data::classId()));
        EXPECT_EQ(item->isA(DataItem::classId()), c.isDataItem) << c.name;
    }
    EXPECT_EQ(Data::createInstance(QStringLiteral("Nobody")), nullptr);
    EXPECT_FALSE(std::is_destructible_v<Patient>);
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
        EXPECT_TRUE(made->isA(Patient::classId()));
    }
    EXPECT_EQ(Data::getFactory().at("Patient"), first);
    EXPECT_EQ(createPatientFactory(), 1);
    EXPECT_EQ(Data::getFactory().at("Patient"), first);
}
