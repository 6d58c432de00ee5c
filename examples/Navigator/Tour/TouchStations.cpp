#include "Tour/TouchStations.h"

#include "AppBase/AppBase.h"
#include "AppBase/QtAppMainWindow.h"
#include "AppBase/QtAppModuleProxy.h"

namespace {

// The presets of the module that is active now.
DataPointer<ModuleConfig> activePresets(TourActions& actions, AppBase& application) {
    DataPointer<ModuleConfig> presets;
    const auto connection =
        QObject::connect(application.getMainWindow(), &QtAppMainWindow::moduleActivated,
                         &application, [&](const QtAppModuleProxy* proxy) {
                             if (proxy)
                                 presets = proxy->moduleGeneralOptions();
                         });
    actions.click("nextStep");
    actions.click("previousStep");
    QObject::disconnect(connection);
    actions.expect(static_cast<bool>(presets), "the module has no options");
    return presets;
}

void storePresets(ModuleConfig& presets) {
    presets.setNoDimensionSets(4); // The last one stays empty.
    presets.setResourceDimensions(0, {700, 650}, {300, 650}, {700, 350}, {300, 350});
    presets.setResourceDimensions(1, {500, 1000}, {500, 1000}, {500, 0}, {500, 0});
    presets.setResourceDimensions(2, {0, 300}, {1000, 300}, {0, 700}, {1000, 700});
}

// What a finger is to hit stands whole in the window, and has 9 mm at 96 dots per inch.
void expectFingerSize(const TourActions& actions, std::initializer_list<const char*> buttons) {
    constexpr int fingerSize = 35;
    for (const char* name : buttons) {
        const QWidget* const button = actions.find(name);
        const std::string told(name);
        actions.expect(button->width() >= fingerSize && button->height() >= fingerSize,
                       told + " is too small for a finger");
        actions.expect(button->visibleRegion() == button->rect(), told + " is cut off");
    }
}

} // namespace

void touchStations(TourActions& actions, AppBase& application) {
    const DataPointer<ModuleConfig> presets = activePresets(actions, application);
    storePresets(*presets);
    application.setTouchScreenModeEnabled(true);
    actions.picture("08c-touch-mode");
    expectFingerSize(actions, {"preset1", "preset2", "preset3", "preset4", "allAlike", "nextStep",
                               "previousStep", "openImages", "openFolder", "Exit", "Screenshot",
                               "Configure"});
    const struct {
        const char* button;
        const char* picture;
        const char* gone;
    } stations[] = {{"preset1", "08d-one-view-large", nullptr},
                    {"preset2", "08e-two-views-side-by-side", "sagittalView"},
                    {"preset3", "08f-two-views-one-above-the-other", "axialView"}};
    for (const auto& station : stations) {
        actions.click(station.button);
        if (station.gone)
            actions.expect(!application.getMainWindow()
                                ->findChild<QWidget*>(QString::fromLatin1(station.gone))
                                ->isVisible(),
                           "a preset is not applied");
        actions.picture(station.picture);
    }
    actions.click("preset4");
    actions.click("allAlike");
    application.setTouchScreenModeEnabled(false);
    actions.expect(actions.find("axialView")->isVisible(), "the layout is not restored");
}
