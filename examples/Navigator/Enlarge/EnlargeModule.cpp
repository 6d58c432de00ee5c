#include "Enlarge/EnlargeModule.h"

#include "AppBase/vlrControlList.h"

#include <QtWidgets/QButtonGroup>
#include <QtWidgets/QLabel>
#include <QtWidgets/QRadioButton>
#include <QtWidgets/QVBoxLayout>

EnlargeModule::EnlargeModule(std::shared_ptr<VolumePanes> panesToUse)
    : VolumeModule(QStringLiteral("Enlarge"), std::move(panesToUse)),
      m_choice(new QButtonGroup(this)) {
    contents()->addSpacing(6);
    contents()->addWidget(new QLabel(tr("Over the whole area:")));
    int index = 0;
    for (PaneControl* control : panes().volumeControls()) {
        auto* const button = new QRadioButton(QLatin1Char('&') + control->title());
        button->setObjectName(QStringLiteral("enlarge") + control->label());
        m_choice->addButton(button, index++);
        contents()->addWidget(button);
    }
    m_choice->button(0)->setChecked(true);
    contents()->addStretch(1);
    connect(m_choice, &QButtonGroup::idToggled, this, [this](int, bool isChecked) {
        if (isChecked)
            arrangeAgain(Places::Kept);
    });
}

PaneControl* EnlargeModule::arrange() {
    PaneControl* const control =
        panes().volumeControls().at(static_cast<std::size_t>(m_choice->checkedId()));
    vlr::ControlList::instance()->occupyResource(control, control->view());
    return control;
}
