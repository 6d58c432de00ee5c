#include "Base/Icons.h"

#include "Log/vlrLog.h"

#include <QtCore/QFile>
#include <QtGui/QGuiApplication>
#include <QtGui/QIconEngine>
#include <QtGui/QPainter>
#include <QtGui/QPixmapCache>
#include <QtSvg/QSvgRenderer>
#include <QtWidgets/QApplication>
#include <QtWidgets/QStyle>
#include <QtWidgets/QStyleOption>

#include <utility>

namespace vlr {

namespace {

/// Reads its file when it is painted. Qt's own engine reads it at once, which costs more than
/// painting it, and most icons of an application are not on the screen when it starts.
class SvgIcon : public QIconEngine {
public:
    explicit SvgIcon(QString path) : m_path(std::move(path)) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode,
               QIcon::State state) override {
        const qreal ratio = painter->device()->devicePixelRatioF();
        painter->drawPixmap(rect, pixmap(rect.size() * ratio, mode, state));
    }

    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
        const QString key = QStringLiteral("%1 %2x%3 %4")
                                .arg(m_path)
                                .arg(size.width())
                                .arg(size.height())
                                .arg(mode);
        QPixmap result;
        if (QPixmapCache::find(key, &result))
            return result;
        result = mode == QIcon::Normal ? render(size) : pixmap(size, QIcon::Normal, state);
        if (mode != QIcon::Normal && !result.isNull()) {
            QStyleOption option(0);
            option.palette = QGuiApplication::palette();
            result = QApplication::style()->generatedIconPixmap(mode, result, &option);
        }
        QPixmapCache::insert(key, result);
        return result;
    }

    QSize actualSize(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
        return pixmap(size, mode, state).size();
    }

    QString key() const override { return QStringLiteral("svg"); }
    QIconEngine* clone() const override { return new SvgIcon(*this); }

private:
    QPixmap render(const QSize& size) const {
        QSvgRenderer picture(m_path);
        if (!picture.isValid() || size.isEmpty())
            return {};
        QPixmap result(picture.defaultSize().scaled(size, Qt::KeepAspectRatio));
        result.fill(Qt::transparent);
        QPainter painter(&result);
        picture.render(&painter);
        return result;
    }

    QString m_path;
};

} // namespace

QIcon icon(const QString& name) {
    const QString path = QStringLiteral(":/icons/default/%1.svg").arg(name);
    if (!QFile::exists(path)) {
        VLR_LOG(Warning) << "There is no icon " << path << '.';
        return {};
    }
    return QIcon(new SvgIcon(path));
}

} // namespace vlr
