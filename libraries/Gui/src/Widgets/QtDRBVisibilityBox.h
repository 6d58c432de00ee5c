#pragma once

#include "vlrGuiExport.h"

#include <QtCore/QTimer>
#include <QtWidgets/QGroupBox>

#include <map>
#include <memory>

class CaSubject;
class QGridLayout;
class QLabel;
class QtRigidVisibilityWidget;
class SurgicalTool;
class TrackableData;

/// Groups the visibility of several tools, one row each, and tells whether all are seen.
///
///     auto* box = new QtDRBVisibilityBox(this);
///     (void)box->addRigid(SurgicalToolBox::getInstance()->getTool("Reference base"));
///     connect(box, &QtDRBVisibilityBox::allRigidsVisible, this, &Panel::showWarning);
///     box->startTracking();
///
/// Tools are not owned; one that is unplugged leaves the box by itself.
class VLR_GUI_EXPORT QtDRBVisibilityBox : public QGroupBox {
    Q_OBJECT

public:
    explicit QtDRBVisibilityBox(QWidget* parent = nullptr);
    ~QtDRBVisibilityBox() override;

    /// Adds a row for the tool; it is tracked at once if the box is. False, with the reason in the
    /// log ("ERROR"), for a null tool and one that is in the box already.
    bool addRigid(SurgicalTool* tool);
    /// The same for the tool that the data is attached to, which is looked up by its name in the
    /// tool box. False also where there is no tool box, and for data that is attached to none.
    bool addRigid(TrackableData* item);
    /// False, with the reason in the log, for a tool that is not in the box.
    bool removeRigid(SurgicalTool* tool);
    bool removeRigid(TrackableData* item);
    void removeAllRigids();
    int rigidCount() const { return static_cast<int>(m_rigids.size()); }

    void startTracking(); ///< Of all tools, every 100 ms.
    void stopTracking();
    bool isTracking() const;

signals:
    /// At every poll; also of an empty box, all of whose tools are visible.
    void allRigidsVisible(bool visible);

private slots:
    void updateSL();

private:
    struct Row {
        QLabel* name;
        QtRigidVisibilityWidget* widget;
    };

    void rigidUnpluggedCB(CaSubject* subject, void* clientData, const char* event, void* eventData);
    SurgicalTool* toolOf(TrackableData* item, bool& isKnown) const;
    void dropRow(std::map<SurgicalTool*, Row>::iterator row);

    QGridLayout* m_layout;
    std::map<SurgicalTool*, Row> m_rigids;
    std::unique_ptr<QTimer> m_timer;
};
