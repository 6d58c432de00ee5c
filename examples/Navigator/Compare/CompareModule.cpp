#include "Compare/CompareModule.h"

#include "AppBase/vlrControlList.h"
#include "Base/TouchTargets.h"

#include <QtCore/QSignalBlocker>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QLabel>
#include <QtWidgets/QVBoxLayout>

using vlr::ControlList;

CompareModule::CompareModule(std::shared_ptr<VolumePanes> panes)
    : VolumeModule(QStringLiteral("Compare"), std::move(panes)),
      m_left(addChoice(tr("&Left:"), "leftPlane", Plane::Axial)),
      m_right(addChoice(tr("&Right:"), "rightPlane", Plane::Coronal)),
      m_previousLeft(m_left->currentIndex()), m_previousRight(m_right->currentIndex()) {
    contents()->addStretch(1);
    addLockBox();
    const auto changed = QOverload<int>::of(&QComboBox::currentIndexChanged);
    connect(m_left, changed, this, [this] { keepApart(m_left, m_right, m_previousLeft); });
    connect(m_right, changed, this, [this] { keepApart(m_right, m_left, m_previousRight); });
}

QComboBox* CompareModule::addChoice(const QString& label, const char* name, Plane plane) {
    auto* const title = new QLabel(label);
    auto* const choice = new QComboBox;
    choice->setObjectName(QString::fromLatin1(name));
    for (PaneControl* control : panes().volumeControls())
        choice->addItem(control->title());
    choice->setCurrentIndex(static_cast<int>(plane));
    choice->setMinimumHeight(vlr::fingerSize); // as the module's buttons
    title->setBuddy(choice);
    contents()->addSpacing(6);
    contents()->addWidget(title);
    contents()->addWidget(choice);
    return choice;
}

// A view stands in one place only: where both would show the same, they change places.
void CompareModule::keepApart(const QComboBox* chosen, QComboBox* other, int& previous) {
    const bool isSwap = chosen->currentIndex() == other->currentIndex();
    if (isSwap) {
        const QSignalBlocker blocker(other);
        other->setCurrentIndex(previous);
    }
    m_previousLeft = m_left->currentIndex();
    m_previousRight = m_right->currentIndex();
    arrangeAgain(isSwap ? Places::GivenUp : Places::Kept);
}

PaneControl* CompareModule::arrange() {
    const auto controls = panes().volumeControls();
    PaneControl* const left = controls.at(static_cast<std::size_t>(m_left->currentIndex()));
    PaneControl* const right = controls.at(static_cast<std::size_t>(m_right->currentIndex()));
    ControlList* const list = ControlList::instance();
    list->occupyResource(ControlList::UpperLeft, left, left->view(), 0.5F, 1.0F);
    list->occupyResource(ControlList::UpperRight, right, right->view(), 0.5F, 1.0F);
    return left;
}
