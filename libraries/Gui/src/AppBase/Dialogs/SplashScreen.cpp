#include "AppBase/Dialogs/SplashScreen.h"

#include "Base/PlainText.h"
#include "Image/ImageFile.h"
#include "Log/vlrLog.h"
#include "Settings/vlrSettings.h"

#include <QtCore/QEvent>
#include <QtCore/QFileInfo>
#include <QtGui/QPainter>
#include <QtSvg/QSvgRenderer>
#include <QtWidgets/QApplication>

namespace {

// Far more than a picture of the size of a screen has, both in its file and in memory.
constexpr qint64 mostBytes = qint64(64) << 20;

QString setting(const char* name, const char* otherwise) {
    return vlr::Settings::get(QStringLiteral("Velora/Application/") + QLatin1String(name),
                              otherwise);
}

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
    const QString path = setting("SplashScreen.ResourcePath", "");
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

void SplashScreen::tell(const QString& text) {
    const bool left =
        setting("ShowSplashScreenMessageLocationHorizontal", "left") == QLatin1String("left");
    const bool bottom =
        setting("ShowSplashScreenMessageLocationVertical", "bottom") == QLatin1String("bottom");
    QColor color;
    color.setNamedColor(setting("ShowSplashScreenMessageColor", "#000000"));
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
