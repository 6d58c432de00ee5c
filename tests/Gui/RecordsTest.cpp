#include "Documents/TreeXml.h"
#include "Gui/GuiTest.h"
#include "RegisterRecords.h"
#include "Support/RecordChecks.h"

using vlrTest::operator""_s;

namespace {

QByteArray savedText(Data& record) {
    return vlr::writeTree(vlrTest::saved(record));
}

std::array<QSize, 4> sizesOf(ModuleConfig& config, int set) {
    std::array<QSize, 4> sizes;
    sizes.fill(QSize(7, 7)); // So that what is left alone is seen.
    config.resourceDimensions(set, sizes[0], sizes[1], sizes[2], sizes[3]);
    return sizes;
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
          [](Data& owner) { return dynamic_cast<MainWindowConfig&>(owner).quadViewConfig(); }},
         {[] { return new MainWindowConfig; },
          [](Data& owner) { return dynamic_cast<MainWindowConfig&>(owner).windowPlace(); }}});
}

TEST(AppBaseConfig, IsCopiedAndKeepsWhatLiesOutsideItsRange) {
    const DataPointer<AppBaseConfig> config(new AppBaseConfig);
    config->setTouchScreenModeEnabled(true);
    config->setShowMode(AppBaseConfig::FullScreen);
    const DataPointer<AppBaseConfig> assigned(new AppBaseConfig);
    *assigned = *config;
    for (const auto& copy : {DataPointer<AppBaseConfig>(new AppBaseConfig(*config)), assigned})
        EXPECT_EQ(savedText(*copy), savedText(*config));

    DataTreeNode node("AppBaseConfig"_s);
    node.setAttribute("m_touchScreenModeEnabled"_s, "0"_s);
    node.setAttribute("m_showMode"_s, "4"_s);
    ASSERT_EQ(config->load(node), CaError::nullError);
    EXPECT_FALSE(config->isTouchScreenModeEnabled());
    EXPECT_EQ(config->showMode(), AppBaseConfig::FullScreen);
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

    DataTreeNode node = vlrTest::saved(*config);
    EXPECT_EQ(node.attribute("Blue_2"_s), "3"_s);
    EXPECT_EQ(node.attributes().back().first, "m_holdDownTime"_s);
    node.setAttribute("Red_0"_s, "256"_s);
    const DataPointer<QuadViewConfig> loaded(new QuadViewConfig);
    ASSERT_EQ(loaded->load(node), CaError::nullError);
    EXPECT_EQ(loaded->resourceColor(0), QColor(Qt::yellow));
    EXPECT_EQ(loaded->resourceColor(2), QColor(1, 2, 3, 255));
    EXPECT_EQ(loaded->holdDownTime(), 1);
}

TEST(ModuleConfig, KeepsItsDimensionSets) {
    const DataPointer<ModuleConfig> config(new ModuleConfig);
    const auto read = [&](int set) { return sizesOf(*config, set).back(); };
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
    DataTreeNode node = vlrTest::saved(*config);
    EXPECT_EQ(node.attributes().size(), 17U);
    EXPECT_EQ(node.attribute("NoSizes"_s), "2"_s);
    EXPECT_EQ(node.attribute("SizeW_0_3"_s), "500"_s);
    EXPECT_EQ(node.attribute("SizeH_1_3"_s), "-1"_s);

    const DataPointer<ModuleConfig> loaded(new ModuleConfig);
    ASSERT_EQ(loaded->load(node), CaError::nullError);
    EXPECT_EQ(savedText(*loaded), savedText(*config));

    // Sets that the file does not hold are empty, and there are no more than can be stored.
    for (const auto& [number, sets] : {std::pair("7", 7), std::pair("2000000000", 500)}) {
        node.setAttribute("NoSizes"_s, QString::fromLatin1(number));
        const DataPointer<ModuleConfig> more(new ModuleConfig);
        EXPECT_EQ(more->load(node).id(), missingAttributeError);
        EXPECT_EQ(more->noDimensionSets(), sets);
        EXPECT_EQ(sizesOf(*more, 0).back(), QSize(500, 501));
        EXPECT_EQ(sizesOf(*more, sets - 1).back(), QSize(-1, -1));
        DataTreeNode again;
        EXPECT_EQ(vlr::readTree(savedText(*more), again), CaError::nullError);
    }
    node.setAttribute("NoSizes"_s, "-1"_s);
    EXPECT_EQ(loaded->load(node).id(), malformedAttributeError);
    EXPECT_EQ(loaded->noDimensionSets(), 2);
}

TEST(ModuleConfig, AMissingAttributeIsReportedAndLeavesTheDefault) {
    DataTreeNode node("ModuleConfig"_s);
    const DataPointer<ModuleConfig> config(new ModuleConfig);
    EXPECT_EQ(config->load(node).text(), "Cannot find attribute: NoSizes");
    EXPECT_EQ(config->noDimensionSets(), 5);

    node.setAttribute("NoSizes"_s, "1"_s);
    node.setAttribute("SizeW_0_0"_s, "300"_s);
    EXPECT_EQ(config->load(node).text(), "Cannot find attribute: SizeH_0_0");
    EXPECT_EQ(config->noDimensionSets(), 1);
    EXPECT_EQ(sizesOf(*config, 0).front(), QSize(-1, -1));
}
