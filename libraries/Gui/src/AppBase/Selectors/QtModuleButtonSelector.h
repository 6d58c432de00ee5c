#pragma once

#include "AppBase/QtModuleSelector.h"

class QAbstractButton;
class QBoxLayout;
class QButtonGroup;
class QFocusFrame;
class QScrollArea;

/// Chooses the module by a button for each, in a row or column that scrolls when it is too long,
/// followed by request buttons.
///
/// With the keyboard, the arrow keys, Home and End step through the buttons, and Space or Return
/// presses the marked one. Names too long for the widest button (220 pixels) are shortened; the
/// tool tip has the whole of each. Once a module was announced, the button that is checked is the
/// module's: a click that changes no module changes no button.
class VLR_GUI_EXPORT QtModuleButtonSelector : public QtModuleSelector {
    Q_OBJECT

public:
    /// The first four flags ask for request buttons, in this order. `noModule` is ignored: a
    /// module that was left that way could not be chosen again.
    QtModuleButtonSelector(QtModuleSelector::Position position, bool screenshot = false,
                           bool config = false, bool configFileEditor = false, bool exit = false,
                           bool noModule = false);
    ~QtModuleButtonSelector() override;

public slots:
    void addModule(QString name, int index) override;
    void moduleActivated(QString name, int index) override;
    void moduleDeactivated(QString name, int index) override;
    void moduleDisabled(QString name, int index) override;
    void moduleEnabled(QString name, int index) override;
    void setTouchScreenMode(bool on) override;

signals:
    void screenShotRequestSGN();
    void configRequestSGN();
    void configFileEditorRequestSGN();
    void exitRequestSGN();

protected:
    /// Makes the button of a module; overridden for another kind of button.
    virtual QAbstractButton* createButton(const QString& name, QWidget* parent);
    /// The button of that name and index, or null.
    QAbstractButton* find(const QString& name, int index) const;
    void modifyButtonSizes();

    void showEvent(QShowEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private slots:
    void buttonClicked(QAbstractButton* button);
    void updateRequestButtons();

private:
    void addRequestButtons(bool screenshot, bool config, bool configFileEditor, bool exit);
    void showCurrentModule();
    void updateExtent();
    void mark(QAbstractButton* button);
    void step(int from, int direction);

    const bool m_vertical;
    QScrollArea* m_scrollArea;
    QBoxLayout* m_moduleLayout;
    QBoxLayout* m_requestLayout;
    QButtonGroup* m_group;
    QFocusFrame* m_focusFrame;
    QAbstractButton* m_marked = nullptr;
    QAbstractButton* m_current = nullptr; ///< Of the module that is announced as activated.
    bool m_isFollowing = false;           ///< A module was announced: the list is there.
};
