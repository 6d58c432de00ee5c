#include "IO/TreeXml.h"
#include "RegisterRecords.h"
#include "Support/RecordChecks.h"

#include <gtest/gtest.h>

namespace {

QByteArray savedText(Data& record) {
    DataTreeNode node;
    EXPECT_EQ(record.save(node), CaError::nullError);
    return vlr::writeTree(node);
}

DataTreeNode savedNode(Data& record) {
    DataTreeNode node;
    EXPECT_EQ(record.save(node), CaError::nullError);
    return node;
}

QStringList attributeNames(const DataTreeNode& node) {
    QStringList names;
    for (const auto& attribute : node.attributes())
        names << attribute.first;
    return names;
}

int countChanges(Data& record, const std::function<void()>& change) {
    int changes = 0;
    const CaConnection connection(record, Data::CHANGED,
                                  [&](auto*, auto*, auto*, auto*) { ++changes; });
    change();
    return changes;
}

} // namespace

// Every class that the libraries declare is in this test; a new one needs no line here.
TEST(Records, KeepEveryAttribute) {
    registerRecords();
    for (const char* name : {"AppBaseConfig", "QtScreenShotData", "TrackableData", "Patient"})
        EXPECT_EQ(Data::getFactory().count(name), 1U) << name;
    vlrTest::checkRegisteredRecords();
}

TEST(Records, AccessorsMakeAndRepairTheirSubRecords) {
    vlrTest::checkSubRecords(
        {{[] { return new AppBaseConfig; },
          [](Data& owner) { return dynamic_cast<AppBaseConfig&>(owner).mainWindowConfig(); }},
         {[] { return new MainWindowConfig; },
          [](Data& owner) { return dynamic_cast<MainWindowConfig&>(owner).quadViewConfig(); }}});
}

TEST(AppBaseConfig, WritesItsAttributesByNameAndReadsThem) {
    const DataPointer<AppBaseConfig> config(new AppBaseConfig);
    EXPECT_EQ(config->id(), QString());
    EXPECT_FALSE(config->isTouchScreenModeEnabled());
    EXPECT_EQ(config->showMode(), AppBaseConfig::Normal);
    config->setTouchScreenModeEnabled(true);
    config->setShowMode(AppBaseConfig::FullScreen);
    DataTreeNode node = savedNode(*config);
    EXPECT_EQ(node.className(), QStringLiteral("AppBaseConfig"));
    EXPECT_EQ(attributeNames(node), (QStringList{QStringLiteral("m_touchScreenModeEnabled"),
                                                 QStringLiteral("m_showMode")}));
    EXPECT_EQ(node.attribute(QStringLiteral("m_touchScreenModeEnabled")), QStringLiteral("1"));
    EXPECT_EQ(node.attribute(QStringLiteral("m_showMode")), QStringLiteral("3"));

    const DataPointer<AppBaseConfig> copy(new AppBaseConfig(*config));
    const DataPointer<AppBaseConfig> assigned(new AppBaseConfig);
    *assigned = *config;
    const DataPointer<AppBaseConfig> loaded(new AppBaseConfig);
    ASSERT_EQ(loaded->load(node), CaError::nullError);
    for (const auto& other : {copy, assigned, loaded}) {
        EXPECT_TRUE(other->isTouchScreenModeEnabled());
        EXPECT_EQ(other->showMode(), AppBaseConfig::FullScreen);
    }

    // What is missing stays as it is; what lies outside the enumeration too.
    node = DataTreeNode(QStringLiteral("AppBaseConfig"));
    node.setAttribute(QStringLiteral("m_touchScreenModeEnabled"), QStringLiteral("0"));
    node.setAttribute(QStringLiteral("m_showMode"), QStringLiteral("4"));
    ASSERT_EQ(loaded->load(node), CaError::nullError);
    EXPECT_FALSE(loaded->isTouchScreenModeEnabled());
    EXPECT_EQ(loaded->showMode(), AppBaseConfig::FullScreen);
}

TEST(AppBaseConfig, ComesBackWithItsSubRecordsFromStoredText) {
    registerRecords();
    const DataPointer<AppBaseConfig> config(new AppBaseConfig);
    config->mainWindowConfig()->setInnerLayoutDirection(MainWindowConfig::RightLeft);
    config->mainWindowConfig()->quadViewConfig()->setHoldDownTime(750);
    DataTreeNode node = savedNode(*config);
    const DataPointer<AppBaseConfig> loaded(new AppBaseConfig);
    ASSERT_EQ(loaded->load(node), CaError::nullError);
    EXPECT_EQ(loaded->mainWindowConfig()->innerLayoutDirection(), MainWindowConfig::RightLeft);
    EXPECT_EQ(loaded->mainWindowConfig()->quadViewConfig()->holdDownTime(), 750);
}

TEST(QuadViewConfig, KeepsFourColoursAndTheHoldDownTime) {
    const DataPointer<QuadViewConfig> config(new QuadViewConfig);
    const QColor defaults[] = {Qt::yellow, Qt::green, Qt::red, Qt::blue};
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(config->resourceColor(i), defaults[i]);
    EXPECT_EQ(config->resourceColor(-1), QColor(Qt::black));
    EXPECT_EQ(config->resourceColor(4), QColor(Qt::black));
    EXPECT_EQ(config->holdDownTime(), 2000);

    EXPECT_EQ(countChanges(*config, [&] { config->setResourceColor(2, QColor(1, 2, 3, 4)); }), 1);
    EXPECT_EQ(countChanges(*config, [&] { config->setResourceColor(4, Qt::white); }), 0);
    EXPECT_EQ(countChanges(*config, [&] { config->setHoldDownTime(1); }), 1);
    EXPECT_EQ(countChanges(*config, [&] { config->setHoldDownTime(0); }), 0);
    EXPECT_EQ(config->holdDownTime(), 1);

    DataTreeNode node = savedNode(*config);
    EXPECT_EQ(node.attribute(QStringLiteral("Blue_2")), QStringLiteral("3"));
    EXPECT_EQ(node.attributes().back().first, QStringLiteral("m_holdDownTime"));
    node.setAttribute(QStringLiteral("Red_0"), QStringLiteral("256"));
    const DataPointer<QuadViewConfig> loaded(new QuadViewConfig);
    ASSERT_EQ(loaded->load(node), CaError::nullError);
    EXPECT_EQ(loaded->resourceColor(0), QColor(Qt::yellow));
    EXPECT_EQ(loaded->resourceColor(2), QColor(1, 2, 3, 255));
}

TEST(ModuleConfig, KeepsItsDimensionSets) {
    const DataPointer<ModuleConfig> config(new ModuleConfig);
    QSize sizes[4];
    const auto read = [&](int set) {
        for (QSize& size : sizes)
            size = QSize(7, 7);
        config->resourceDimensions(set, sizes[0], sizes[1], sizes[2], sizes[3]);
        return sizes[3];
    };
    const auto store = [&](int set, int value) {
        const QSize size(value, value + 1);
        return countChanges(*config,
                            [&] { config->setResourceDimensions(set, size, size, size, size); });
    };
    EXPECT_EQ(config->noDimensionSets(), 5);
    EXPECT_EQ(read(4), QSize(-1, -1));
    EXPECT_EQ(read(5), QSize(7, 7));
    EXPECT_EQ(read(-1), QSize(7, 7));
    EXPECT_EQ(store(5, 1), 0);
    EXPECT_EQ(store(-1, 1), 0);
    EXPECT_EQ(store(0, 500), 1);

    EXPECT_EQ(countChanges(*config, [&] { config->setNoDimensionSets(-1); }), 1);
    EXPECT_EQ(config->noDimensionSets(), 5);
    EXPECT_EQ(countChanges(*config, [&] { config->setNoDimensionSets(2); }), 1);
    EXPECT_EQ(read(0), QSize(500, 501));
    DataTreeNode node = savedNode(*config);
    EXPECT_EQ(node.attributes().size(), 17U);
    EXPECT_EQ(node.attribute(QStringLiteral("NoSizes")), QStringLiteral("2"));
    EXPECT_EQ(node.attribute(QStringLiteral("SizeW_0_3")), QStringLiteral("500"));
    EXPECT_EQ(node.attribute(QStringLiteral("SizeH_1_3")), QStringLiteral("-1"));

    const DataPointer<ModuleConfig> loaded(new ModuleConfig);
    ASSERT_EQ(loaded->load(node), CaError::nullError);
    EXPECT_EQ(savedText(*loaded), savedText(*config));

    // Sets that the file does not hold are empty, and there are no more than can be stored.
    for (const auto& [number, sets] : {std::pair("7", 7), std::pair("2000000000", 500)}) {
        node.setAttribute(QStringLiteral("NoSizes"), QString::fromLatin1(number));
        const DataPointer<ModuleConfig> more(new ModuleConfig);
        EXPECT_EQ(more->load(node).id(), missingAttributeError);
        EXPECT_EQ(more->noDimensionSets(), sets);
        more->resourceDimensions(0, sizes[0], sizes[1], sizes[2], sizes[3]);
        EXPECT_EQ(sizes[3], QSize(500, 501));
        more->resourceDimensions(sets - 1, sizes[0], sizes[1], sizes[2], sizes[3]);
        EXPECT_EQ(sizes[3], QSize(-1, -1));
        DataTreeNode again;
        EXPECT_EQ(vlr::readTree(savedText(*more), again), CaError::nullError);
    }
    node.setAttribute(QStringLiteral("NoSizes"), QStringLiteral("-1"));
    EXPECT_EQ(loaded->load(node).id(), malformedAttributeError);
    EXPECT_EQ(loaded->noDimensionSets(), 2);
}

TEST(ModuleConfig, AMissingAttributeIsReportedAndLeavesTheDefault) {
    DataTreeNode node(QStringLiteral("ModuleConfig"));
    const DataPointer<ModuleConfig> config(new ModuleConfig);
    EXPECT_EQ(config->load(node).text(), "Cannot find attribute: NoSizes");
    EXPECT_EQ(config->noDimensionSets(), 5);

    node.setAttribute(QStringLiteral("NoSizes"), QStringLiteral("1"));
    node.setAttribute(QStringLiteral("SizeW_0_0"), QStringLiteral("300"));
    EXPECT_EQ(config->load(node).text(), "Cannot find attribute: SizeH_0_0");
    EXPECT_EQ(config->noDimensionSets(), 1);
    QSize sizes[4];
    config->resourceDimensions(0, sizes[0], sizes[1], sizes[2], sizes[3]);
    EXPECT_EQ(sizes[0], QSize(-1, -1));
}
