#include "AppBase/Dialogs/QtAboutDialog.h"

#include <QtGui/QGuiApplication>
#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QLabel>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QVBoxLayout>

namespace {

constexpr int leastWidth = 360;

QString row(const QString& what, const QString& value) {
    return QStringLiteral("<tr><td>%1&nbsp;&nbsp;</td><td>%2</td></tr>")
        .arg(what.toHtmlEscaped(), value.toHtmlEscaped());
}

} // namespace

QtAboutDialog::QtAboutDialog(QWidget* parent) : QDialog(parent) {
    setWindowTitle(tr("About %1").arg(QGuiApplication::applicationDisplayName()));
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    auto* label = new QLabel(text(vlr::versionInformation()), this);
    label->setObjectName(QStringLiteral("aboutText"));
    label->setTextFormat(Qt::RichText);
    label->setMinimumWidth(leastWidth);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok, this);
    buttons->button(QDialogButtonBox::Ok)->setObjectName(QStringLiteral("ok"));
    connect(buttons, &QDialogButtonBox::accepted, this, &QtAboutDialog::accept);
    auto* column = new QVBoxLayout(this);
    column->addWidget(label);
    column->addWidget(buttons);
    buttons->button(QDialogButtonBox::Ok)->setFocus();
}

QtAboutDialog::~QtAboutDialog() = default;

QString QtAboutDialog::text(const vlr::VersionInformation& information) {
    if (information.buildTime.isEmpty())
        return tr("This Dialog was compiled without version information.");
    QString result =
        QStringLiteral("<h2 align=\"center\">%1</h2>"
                       "<p align=\"center\">%2</p><table align=\"center\" cellspacing=\"2\">")
            .arg(QGuiApplication::applicationDisplayName().toHtmlEscaped(),
                 (tr("Generated ") + information.buildTime).toHtmlEscaped());
    result += row(tr("Qt, compiled with"), information.qtVersion);
    result += row(tr("Qt, running with"), QString::fromLatin1(qVersion()));
    for (const QString& library : information.libraries)
        result += row(library, information.version);
    result += row(tr("Revision"), information.revision);
    result += row(tr("Build"), information.buildKey);
    return result + QStringLiteral("</table>");
}
