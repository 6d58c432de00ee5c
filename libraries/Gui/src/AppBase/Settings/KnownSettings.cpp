#include "AppBase/Settings/KnownSettings.h"

#include "Settings/SettingKey.h"

#include "Settings/SettingKey.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtGui/QColor>
#include <QtGui/QKeySequence>

#include <algorithm>

namespace vlr {

namespace {

using Kind = SettingsType::Kind;

struct Words {
    Q_DECLARE_TR_FUNCTIONS(KnownSettings)
};

bool isShortcut(const QString& text) {
    const QKeySequence keys(text, QKeySequence::PortableText);
    for (int i = 0; i < keys.count(); ++i)
        if ((keys[static_cast<uint>(i)] & ~static_cast<int>(Qt::KeyboardModifierMask)) ==
            Qt::Key_unknown)
            return false;
    return true;
}

SettingsType ofKind(Kind kind) {
    SettingsType type;
    type.kind = kind;
    return type;
}

SettingsType only(bool (*accepts)(const QString&), const QString& expected) {
    SettingsType type;
    type.accepts = accepts;
    type.expected = expected;
    return type;
}

SettingsType color() {
    SettingsType type = ofKind(Kind::Vector);
    type.minimum = 0;
    type.maximum = 255;
    return type;
}

std::vector<KnownSetting> namesAndMeanings() {
    const auto tr = [](const char* text) { return Words::tr(text); };
    const auto name = [](const char* text) { return QString::fromLatin1(text); };
    const SettingsType flag = ofKind(Kind::Bool);
    const SettingsType text;
    const SettingsType shortcut = only(&isShortcut, tr("a key sequence such as F2 or Ctrl+P"));
    const SettingsType colorName =
        only(&QColor::isValidColor, tr("a colour name such as #ff8000 or white"));
    const SettingsType horizontal = choiceType({name("left"), name("right")});
    const SettingsType vertical = choiceType({name("bottom"), name("top")});
    const SettingsType showMode = choiceType(
        {name("minimized"), name("normal"), name("maximized"), name("fullscreen")}, true);
    const QString no = name("false");
    // clang-format off
    return {
        {name("WindowShowMode"), showMode, name("normal"),
         tr("How the main window appears at start-up."),
         tr("The main window does not appear at start-up.")},
        {name("ExitWithoutRequest"), flag, no, tr("Leave without asking.")},
        {name("ScreenshotShortcut"), shortcut, name("F2"),
         tr("Key sequence that asks for a screenshot."), tr("No key asks for a screenshot.")},
        {name("ScreenshotLocation"), text, QDir::homePath() + name("/Desktop/"),
         tr("Folder that screenshots are stored in.")},
        {name("DisplayLogo"), flag, no, tr("Show the logo above the context area.")},
        {name("ShowSplashScreen"), flag, no, tr("Show the splash screen at start-up.")},
        {name("SplashScreen.ResourcePath"), text, {},
         tr("Picture of the splash screen. Empty: the built-in one.")},
        {name("SplashScreen.Timer"), integerType(0), name("0"),
         tr("How long the splash screen stays, in milliseconds. "
            "0: until the main window appears.")},
        {name("ShowSplashScreenMessageLocationHorizontal"), horizontal, name("left"),
         tr("Where the splash screen shows its messages."), tr("The messages are on the right.")},
        {name("ShowSplashScreenMessageLocationVertical"), vertical, name("bottom"),
         tr("Where the splash screen shows its messages."), tr("The messages are at the top.")},
        {name("ShowSplashScreenMessageColor"), colorName, name("#000000"),
         tr("Colour of the splash screen's messages."), tr("The messages are black.")},
        {name("ProgressBarFlushX"), flag, no,
         tr("Flush what was painted when a progress dialog opens.")},
        {name("ProgressBarSyncX"), flag, no,
         tr("Kept for the progress dialog; without effect today.")},
        {name("QtQuadView/ExpandButtonTimeoutInMS"), integerType(0), name("2000"),
         tr("Four-view layout: milliseconds after which the expand buttons hide.")},
        {name("QtQuadView/InitialSize"), ofKind(Kind::Size), name("1024 x 1024"),
         tr("Four-view layout: preferred size in pixels.")},
        {name("QtQuadView/SplitterWidth"), integerType(1, 64), name("4"),
         tr("Four-view layout: width of the lines between the views, in pixels.")},
        {name("QtQuadView/ButtonColor"), color(), name("1 0 0"),
         tr("Four-view layout: colour of a view's buttons. 1 0 0: the colours of the desktop "
            "are used, here and for the two colours that follow.")},
        {name("QtQuadView/BackgroundColor"), color(), name("0 0 0"),
         tr("Four-view layout: background of a view, where a button colour is chosen.")},
        {name("QtQuadView/SelectedColor"), color(), name("1 0 0"),
         tr("Four-view layout: colour that marks the current view, where a button colour is "
            "chosen.")},
    };
    // clang-format on
}

KnownSetting translated(const SettingDeclaration& declared) {
    SettingsType type = declared.type();
    if (!type.expected.isEmpty())
        type.expected = Words::tr(type.expected.toUtf8().constData());
    const auto tr = [](const char* text) { return *text ? Words::tr(text) : QString(); };
    return {declared.key(), type, declared.defaultText(), tr(declared.meaning()),
            tr(declared.otherwise())};
}

std::vector<KnownSetting>& added() {
    static std::vector<KnownSetting> settings;
    return settings;
}

void put(const KnownSetting& setting, std::vector<KnownSetting>& settings) {
    const auto former = std::find_if(settings.begin(), settings.end(),
                                     [&](const auto& each) { return each.key == setting.key; });
    if (former == settings.end())
        settings.push_back(setting);
    else
        *former = setting;
}

} // namespace

std::vector<KnownSetting> knownSettings() {
    std::vector<KnownSetting> settings = namesAndMeanings();
    for (KnownSetting& setting : settings)
        setting.key.prepend(QLatin1String("Velora/Application/"));
    for (const SettingDeclaration* declared : declaredSettings())
        put(translated(*declared), settings);
    for (const KnownSetting& setting : added())
        put(setting, settings);
    return settings;
}

void addKnownSetting(const KnownSetting& setting) {
    put(setting, added());
}

} // namespace vlr
