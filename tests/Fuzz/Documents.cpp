#include "Input.h"
#include "Targets.h"

#include "IO/TreeXml.h"
#include "Settings/vlrSettings.h"
#include "Tools/ToolGeometry.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

void fuzzXml(const QByteArray& bytes) {
    DataTreeNode root;
    if (!vlr::readTree(bytes, root).isNull())
        return;
    const QByteArray written = vlr::writeTree(root);
    DataTreeNode again;
    // A document that is larger once it is indented may go beyond the limit.
    const vlr::TreeLimits limits{qint64(64) << 20};
    demand(vlr::readTree(written, again, limits).isNull(), "what was read can be stored");
    demand(vlr::writeTree(again) == written, "what was stored comes back");
}

// A damaged file is kept aside, which is why each has a folder of its own.
void fuzzSettings(const QByteArray& bytes) {
    const QTemporaryDir folder;
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(folder.path()));
    QCoreApplication::setApplicationName(QStringLiteral("."));
    writeInput(folder.filePath(QStringLiteral("settings.ini")), bytes);
    vlr::Settings::reload();
    const QStringList keys = vlr::Settings::keys();
    for (const QString& key : keys) {
        const int integer = vlr::Settings::get(key, 4, 1, 64);
        demand(integer >= 1 && integer <= 64, "a whole number is in its range");
        const double number = vlr::Settings::get(key, 0.5, 0.0, 1.0);
        demand(number >= 0 && number <= 1, "a number is in its range");
        demand(vlr::Settings::get(key, QSize(1, 1)).isValid(), "a size is none below zero");
        demand(vlr::Settings::get(key, Vector3d(1, 2, 3)).allFinite(), "a vector is finite");
        (void)vlr::Settings::get(key, true);
        (void)vlr::Settings::get(key, "");
    }
}

void fuzzTool(const QByteArray& bytes) {
    vlr::ToolGeometry geometry;
    if (vlr::readToolGeometry(inputFile("tool.xml", bytes), geometry).isNull())
        demand(vlr::checkGeometry(geometry).isNull(), "a tool that was read can be used");
}
