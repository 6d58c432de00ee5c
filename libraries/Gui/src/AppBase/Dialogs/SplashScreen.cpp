#include "AppBase/Dialogs/SplashScreen.h"

#include "Base/PlainText.h"
#include "Image/ImageFile.h"
#include "Log/vlrLog.h"
#include "Settings/SettingKey.h"

#include <QtCore/QEvent>
#include <QtCore/QFileInfo>
#include <QtGui/QPainter>
#include <QtSvg/QSvgRenderer>
#include <QtWidgets/QApplication>

namespace {

// Far more than a picture of the size of a screen has, both in its file and in memory.
constexpr qint64 mostBytes = qint64(64) << 20;

const vlr::SettingKey<bool>
    showSplashScreen("Velora/Application/ShowSplashScreen", false,
                     QT_TRANSLATE_NOOP("KnownSettings", "Show the splash screen at start-up."));
const vlr::SettingKey<QString> resourcePath(
    "Velora/Application/SplashScreen.ResourcePath", QString(),
    QT_TRANSLATE_NOOP("KnownSettings", "Picture of the splash screen: PNG, JPEG, BMP or TIFF of at "
                                       "most 64 MiB. Empty or unusable: the built-in one."));
const vlr::SettingKey<int> timer(
    "Velora/Application/SplashScreen.Timer", 0,
    QT_TRANSLATE_NOOP(
        "KnownSettings",
        "How long the splash screen stays, in milliseconds. 0: until the main window appears."),
    vlr::integerType(0));
const vlr::SettingKey<QString> horizontalPlace(
    "Velora/Application/ShowSplashScreenMessageLocationHorizontal", QStringLiteral("left"),
    QT_TRANSLATE_NOOP("KnownSettings", "Where the splash screen shows its messages."),
    vlr::choiceType({QStringLiteral("left"), QStringLiteral("right")}),
    QT_TRANSLATE_NOOP("KnownSettings", "The messages are on the right."));
const vlr::SettingKey<QString>
    verticalPlace("Velora/Application/ShowSplashScreenMessageLocationVertical",
                  QStringLiteral("bottom"),
                  QT_TRANSLATE_NOOP("KnownSettings", "Where the splash screen shows its messages."),
                  vlr::choiceType({QStringLiteral("bottom"), QStringLiteral("top")}),
                  QT_TRANSLATE_NOOP("KnownSettings", "The messages are at the top."));
const vlr::SettingKey<QString>
    messageColor("Velora/Application/ShowSplashScreenMessageColor", QStringLiteral("#000000"),
                 QT_TRANSLATE_NOOP("KnownSettings", "Colour of the splash screen's messages."),
                 vlr::acceptedType(&QColor::isValidColor,
                                   QString::fromLatin1(QT_TRANSLATE_NOOP(
                                       "KnownSettings", "a colour name such as #ff8000 or white"))),
                 QT_TRANSLATE_NOOP("KnownSettings", "The messages are black."));

// Drawn for the screen's resolution.
QPixmap builtInPicture() {
    QSvgRenderer picture(QStringLiteral(":/splash/Splash.svg"));
    const qreal ratio = qApp->devicePixelRatio();
    QPixmap pixmap(picture.defaultSize() * ratio);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    picture.render(&painter);
    painter.end();
    pixmap.setDevicePixelRatio(ratio);
    return pixmap;
}

// The file may be anybody's, and may have been made to keep the start waiting.
std::string readPicture(const QString& path, QImage& image) {
    const QFileInfo file(path);
    if (file.isFile() && file.size() > mostBytes)
        return QStringLiteral("The image \"%1\" has %2 bytes, more than %3.")
            .arg(path)
            .arg(file.size())
            .arg(mostBytes)
            .toStdString();
    const CaError error = vlr::readImage(path, image, 0, mostBytes);
    return error.isNull() ? std::string() : error.text();
}

QPixmap picture() {
    const QString path = resourcePath.get();
    // What was built into the program may be of any kind, drawings included.
    if (path.startsWith(QLatin1Char(':')))
        return QPixmap(path);
    if (path.isEmpty())
        return builtInPicture();
    QImage image;
    const std::string problem = readPicture(path, image);
    if (problem.empty())
        return QPixmap::fromImage(image);
    VLR_LOG(Warning) << "The picture of the setting "
                        "\"Velora/Application/SplashScreen.ResourcePath\" is not shown. "
                     << problem;
    return builtInPicture();
}

bool isModalWindow(const QObject* object) {
    if (!object->isWidgetType())
        return false;
    const auto* const widget = static_cast<const QWidget*>(object);
    return widget->isWindow() && widget->isModal();
}

} // namespace

SplashScreen::SplashScreen() : QSplashScreen(picture(), Qt::WindowStaysOnTopHint) {
    qApp->installEventFilter(this);
}

bool SplashScreen::isWanted() {
    return showSplashScreen.get();
}

int SplashScreen::milliseconds() {
    return timer.get();
}

void SplashScreen::tell(const QString& text) {
    const bool left = horizontalPlace.get() == QLatin1String("left");
    const bool bottom = verticalPlace.get() == QLatin1String("bottom");
    QColor color;
    color.setNamedColor(messageColor.get());
    showMessage(vlr::isPlainToolTip(text) ? text : vlr::plainToolTip(text),
                static_cast<int>(left ? Qt::AlignLeft : Qt::AlignRight) |
                    static_cast<int>(bottom ? Qt::AlignBottom : Qt::AlignTop),
                color);
}

bool SplashScreen::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Show && isVisible() && isModalWindow(watched)) {
        m_isAside = true;
        hide();
    } else if (event->type() == QEvent::Hide && m_isAside && isModalWindow(watched) &&
               !QApplication::activeModalWidget()) {
        m_isAside = false;
        show();
    }
    return QSplashScreen::eventFilter(watched, event);
}

void SplashScreen::closeEvent(QCloseEvent* event) {
    m_isAside = false; // It does not come back.
    QSplashScreen::closeEvent(event);
}
