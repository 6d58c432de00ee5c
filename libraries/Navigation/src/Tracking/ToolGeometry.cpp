#include "Tracking/ToolGeometry.h"

#include "Files/DurableFile.h"
#include "Math/RigidFit.h"
#include "Tracking/ToolName.h"

#include <QtCore/QResource>
#include <QtCore/QXmlStreamReader>

#include <cmath>

namespace vlr {

namespace {

constexpr qint64 mostBytes = 64 << 10;
constexpr double farthestMarker = 1000; // millimetres

CaError geometryError(const QString& text) {
    return CaError("ToolGeometry::malformed", text.toStdString());
}

// The parser must not meet a document type or another encoding than the one checked for here,
// nor elements with so many attributes that comparing them takes it long.
QString checkText(const QByteArray& bytes) {
    if (bytes.contains("<!DOCTYPE") || bytes.contains('\0'))
        return QStringLiteral("a document type is not allowed");
    if (QString::fromUtf8(bytes).contains(QChar::ReplacementCharacter))
        return QStringLiteral("it is not UTF-8 text");
    constexpr int mostEqualSigns = 16 + 4 * mostMarkers;
    if (bytes.count('=') > mostEqualSigns)
        return QStringLiteral("it has more attributes than a tool needs");
    return {};
}

QString withoutStop(QString sentence) {
    if (sentence.endsWith(QLatin1Char('.')))
        sentence.chop(1);
    return sentence;
}

class Reader {
public:
    explicit Reader(const QByteArray& bytes) : m_xml(QString::fromUtf8(bytes)) {}

    CaError read(ToolGeometry& geometry) {
        while (!m_xml.atEnd() && m_problem.isEmpty()) {
            const auto token = m_xml.readNext();
            if (token == QXmlStreamReader::StartElement)
                startElement();
            else if (token == QXmlStreamReader::EndElement)
                --m_depth;
            else if (token == QXmlStreamReader::Characters && !m_xml.isWhitespace())
                m_problem = QStringLiteral("unexpected text");
        }
        if (m_problem.isEmpty() && m_xml.hasError())
            m_problem = withoutStop(m_xml.errorString());
        if (!m_problem.isEmpty())
            return geometryError(
                QStringLiteral("line %1: %2").arg(m_xml.lineNumber()).arg(m_problem));
        geometry = m_geometry;
        return CaError::nullError;
    }

private:
    void startElement() {
        ++m_depth;
        if (m_depth == 1 && m_xml.name() == QLatin1String("tool"))
            startTool();
        else if (m_depth == 2 && m_xml.name() == QLatin1String("marker"))
            readMarker();
        else
            m_problem = QStringLiteral("unexpected element \"%1\"").arg(m_xml.name().toString());
    }

    bool knowsAttributes(std::initializer_list<const char*> names) {
        const QXmlStreamAttributes attributes = m_xml.attributes();
        for (const char* name : names)
            if (!attributes.hasAttribute(QLatin1String(name)))
                m_problem = QStringLiteral("no attribute \"%1\"").arg(QLatin1String(name));
        if (m_problem.isEmpty() && attributes.size() != static_cast<int>(names.size()))
            m_problem = QStringLiteral("unknown attributes");
        return m_problem.isEmpty();
    }

    void startTool() {
        if (!knowsAttributes({"version", "name"}))
            return;
        const auto version = m_xml.attributes().value(QLatin1String("version"));
        if (version != QLatin1String("1"))
            m_problem = QStringLiteral("unknown version \"%1\"").arg(version.toString());
        m_geometry.name =
            m_xml.attributes().value(QLatin1String("name")).toString().trimmed().toStdString();
    }

    double coordinate(const char* name) {
        bool isNumber = false;
        const auto text = m_xml.attributes().value(QLatin1String(name));
        const double value = text.toDouble(&isNumber);
        if (!isNumber || !(std::abs(value) <= farthestMarker))
            m_problem = QStringLiteral("\"%1\" is not a coordinate from -%2 to %2 mm")
                            .arg(text.toString().left(40))
                            .arg(farthestMarker);
        return value;
    }

    void readMarker() {
        if (static_cast<int>(m_geometry.markers.size()) >= mostMarkers)
            m_problem = QStringLiteral("more than %1 markers").arg(mostMarkers);
        else if (knowsAttributes({"x", "y", "z"}))
            m_geometry.markers.emplace_back(coordinate("x"), coordinate("y"), coordinate("z"));
    }

    QXmlStreamReader m_xml;
    ToolGeometry m_geometry;
    int m_depth = 0;
    QString m_problem;
};

// What is compiled into the program is no file of the system.
CaError readBytes(const QString& path, QByteArray& bytes) {
    const QResource resource(path);
    if (!path.startsWith(QLatin1String(":/")) || !resource.isValid())
        return readWhole(path, mostBytes, bytes);
    bytes = resource.uncompressedData();
    return CaError::nullError;
}

} // namespace

CaError checkGeometry(const ToolGeometry& geometry) {
    const auto count = static_cast<int>(geometry.markers.size());
    if (!isToolName(geometry.name))
        return geometryError(QStringLiteral("the tool needs a printable name of at most %1 bytes")
                                 .arg(longestToolName));
    if (count < 3 || count > mostMarkers)
        return geometryError(
            QStringLiteral("a tool has 3 to %1 markers, not %2").arg(mostMarkers).arg(count));
    if (!fitRigid(geometry.markers, geometry.markers))
        return geometryError(QStringLiteral("the markers are on one line"));
    return CaError::nullError;
}

CaError readToolGeometry(const QString& path, ToolGeometry& geometry) {
    QByteArray bytes;
    CaError error = readBytes(path, bytes);
    if (!error.isNull())
        return error;
    ToolGeometry found;
    const QString problem = checkText(bytes);
    error = problem.isEmpty() ? Reader(bytes).read(found) : geometryError(problem);
    if (error.isNull())
        error = checkGeometry(found);
    if (!error.isNull())
        return CaError(error.id(), QStringLiteral("The tool file \"%1\" cannot be used: %2.")
                                       .arg(path, QString::fromStdString(error.description()))
                                       .toStdString());
    geometry = found;
    return CaError::nullError;
}

} // namespace vlr
