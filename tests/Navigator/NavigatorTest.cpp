#include "Navigator/NavigatorTest.h"

#include <QtCore/QBuffer>
#include <QtCore/QDataStream>

namespace vlrTest {

Q_COREAPP_STARTUP_FUNCTION(failAtUnansweredBoxes)

NavigatorTest::NavigatorTest() {
    restart();
}

NavigatorTest::~NavigatorTest() {
    panes.reset();
    application.reset();
    DataIOManager::closeRepository();
}

void NavigatorTest::restart() {
    panes.reset();
    application.reset();
    application = std::make_unique<AppBase>(m_line.count, m_line.words);
}

void NavigatorTest::show(QtAppModule* module) {
    ASSERT_TRUE(application->addModule(module));
    window()->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window(), patience));
}

ImagesModule* NavigatorTest::showImages(const QStringList& paths) {
    panes = std::make_shared<VolumePanes>();
    auto* const module = new ImagesModule(panes, paths);
    show(module);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !panes->series().isEmpty(); }, patience));
    EXPECT_TRUE(QTest::qWaitForWindowActive(window()));
    return module;
}

QByteArray png(const QImage& image) {
    QBuffer buffer;
    EXPECT_TRUE(buffer.open(QIODevice::WriteOnly) && image.save(&buffer, "PNG"));
    return buffer.data();
}

QByteArray png(int width, int height, QImage::Format format) {
    QImage image(width, height, format);
    image.fill(QColor(100, 100, 100));
    return png(image);
}

QByteArray signedTiff(const std::array<qint16, 4>& greys) {
    QByteArray bytes("II*\0\x8\0\0\0", 8);
    QDataStream stream(&bytes, QIODevice::Append);
    stream.setByteOrder(QDataStream::LittleEndian);
    const std::pair<int, int> fields[] = {{256, 2},   {257, 2}, {258, 16}, {259, 1}, {262, 1},
                                          {273, 134}, {277, 1}, {278, 2},  {279, 8}, {339, 2}};
    stream << quint16(std::size(fields));
    for (const auto& [tag, value] : fields)
        stream << quint16(tag) << quint16(4) << quint32(1) << quint32(value);
    stream << quint32(0);
    for (const qint16 grey : greys)
        stream << grey;
    return bytes;
}

QString writeImages(const char* name, const std::vector<QByteArray>& files) {
    const QString folder = testFolder() + QLatin1Char('/') + QLatin1String(name);
    EXPECT_TRUE(QDir().mkpath(folder));
    int number = 0;
    for (const QByteArray& bytes : files)
        writeFile(QStringLiteral("%1/%2.png").arg(folder).arg(++number), bytes);
    return folder;
}

} // namespace vlrTest
