#include "Review/ScreenshotPage.h"

#include "Base/Icons.h"
#include "Base/QtElidedLabel.h"
#include "Base/QtMessageLine.h"
#include "Base/TouchTargets.h"
#include "Review/ScreenshotModel.h"

#include <QtGui/QKeyEvent>
#include <QtGui/QPainter>
#include <QtGui/QScreen>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QVBoxLayout>

/// The picture, or a text in its place.
class ScreenshotPage::Picture : public QWidget {
public:
    explicit Picture(QWidget* parent) : QWidget(parent) {
        setObjectName(QStringLiteral("screenshot"));
        setFocusPolicy(Qt::StrongFocus);
        setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Ignored);
    }
    void setPicture(const QPixmap& picture, const QString& name) {
        m_picture = picture;
        m_text.clear();
        setAccessibleName(name);
        setAccessibleDescription({});
        update();
    }
    void setText(const QString& text, const QString& name) {
        m_picture = {};
        m_text = text;
        setAccessibleName(name);
        setAccessibleDescription(text);
        update();
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        if (m_picture.isNull()) {
            painter.drawText(rect(), Qt::AlignCenter | Qt::TextWordWrap, vlr::breakable(m_text));
            return;
        }
        // Never larger than it was taken.
        QSizeF size = QSizeF(m_picture.size()) / devicePixelRatioF();
        if (size.width() > width() || size.height() > height())
            size.scale(this->size(), Qt::KeepAspectRatio);
        QRectF target(QPointF(), size);
        target.moveCenter(QRectF(rect()).center());
        painter.drawPixmap(target, m_picture, m_picture.rect());
    }

private:
    QPixmap m_picture;
    QString m_text;
};

ScreenshotPage::ScreenshotPage(QWidget* parent)
    : QWidget(parent), m_title(new QtElidedLabel(Qt::ElideMiddle, this)),
      m_picture(new Picture(this)), m_decoder(new BackgroundDecoder(this)) {
    auto* const back =
        new QPushButton(vlr::icon(QStringLiteral("LeftArrow")), tr("&Back to all"), this);
    back->setObjectName(QStringLiteral("backToAll"));
    back->setToolTip(tr("Show all screenshots again (Escape)"));
    back->setMinimumHeight(vlr::fingerSize);
    m_title->setAlignment(Qt::AlignCenter);
    m_title->setObjectName(QStringLiteral("screenshotTitle"));
    auto* const row = new QHBoxLayout;
    row->addWidget(back);
    row->addWidget(m_title, 1);
    auto* const column = new QVBoxLayout(this);
    column->addLayout(row);
    column->addWidget(m_picture, 1);
    setFocusProxy(m_picture);
    connect(back, &QPushButton::clicked, this, &ScreenshotPage::backRequested);
    connect(m_decoder, &BackgroundDecoder::decoded, this,
            [this](auto&&, const QImage& image, const CaError& error) { keep(image, error); });
}

void ScreenshotPage::showScreenshot(const DataPointer<QtScreenShotData>& record) {
    clear();
    m_record = record;
    m_title->setFullText(screenshotTitle(*record));
    m_picture->setText(tr("The screenshot is being read..."), screenshotTitle(*record));
    // More than the screen shows is not needed.
    m_decoder->request(record, screen()->size() * devicePixelRatioF());
}

void ScreenshotPage::clear() {
    m_decoder->clear();
    m_record = nullptr;
    m_title->setFullText({});
    m_picture->setText({}, {});
}

void ScreenshotPage::keep(const QImage& image, const CaError& error) {
    const QString title = screenshotTitle(*m_record);
    if (error == CaError::nullError)
        m_picture->setPicture(QPixmap::fromImage(image), title);
    else
        m_picture->setText(
            tr("The screenshot cannot be shown. %1").arg(QString::fromStdString(error.text())),
            title);
}

void ScreenshotPage::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape)
        emit backRequested();
    else if (event->key() == Qt::Key_Delete)
        emit deleteRequested();
    else
        QWidget::keyPressEvent(event);
}
