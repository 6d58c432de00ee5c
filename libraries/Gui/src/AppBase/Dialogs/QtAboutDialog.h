#pragma once

#include "AppBase/Dialogs/VersionInformation.h"
#include "vlrGuiExport.h"

#include <QtWidgets/QDialog>

/// Says which build of the libraries this program runs with.
class VLR_GUI_EXPORT QtAboutDialog : public QDialog {
    Q_OBJECT

public:
    explicit QtAboutDialog(QWidget* parent = nullptr);
    ~QtAboutDialog() override;

    /// The rich text shown for a build of which this is known.
    static QString text(const vlr::VersionInformation& information);
};
