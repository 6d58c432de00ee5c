#pragma once

#include <QtWidgets/QWidget>

#include <functional>
#include <stdexcept>
#include <vector>

/// What the tour cannot go on after.
struct TourFailure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// What a user can do with the application, and see of it.
///
///     actions.click("newPatient");
///     actions.expectText<QLabel>("patientCount", "Patients: 1");
///     actions.picture("05-patient-stored");
///
/// Nothing waits for a time; everything waits for what it needs and fails when that does not
/// come.
class TourActions {
public:
    TourActions(QWidget* window, const QString& folder);

    QWidget* window() const { return m_window; }
    /// The visible widget of the name in the open dialog or, without one, in the window.
    template <class Widget = QWidget>
    Widget* find(const char* name) const {
        auto* widget = qobject_cast<Widget*>(findWidget(name));
        if (!widget)
            throw TourFailure(std::string("there is no ") + name);
        return widget;
    }

    void click(const char* name) const;
    void click(QWidget* widget) const;
    void type(QWidget* widget, const QString& text) const;
    void key(QWidget* widget, Qt::Key key) const;
    void turnWheel(QWidget* widget, int notches) const; ///< Positive: towards the user.

    /// Does `open` and, once that shows a modal dialog, `drive`, which has to close it.
    void inDialog(const std::function<void()>& open, const std::function<void(QWidget*)>& drive);
    /// The same for dialogs that follow one another. Each `drive` is called until it returns
    /// true; a dialog that goes on by itself meanwhile is not ready before.
    void inDialogs(const std::function<void()>& open,
                   const std::vector<std::function<bool(QWidget*)>>& drives);

    void waitFor(const std::function<bool()>& condition, const std::string& what) const;
    void expect(bool condition, const std::string& what) const;
    /// Waits until the widget of the name shows the text.
    template <class Widget>
    void expectText(const char* name, const QString& text) const {
        waitFor(
            [&] {
                auto* widget = qobject_cast<Widget*>(findWidget(name));
                return widget && widget->text() == text;
            },
            std::string(name) + " with the text \"" + text.toStdString() + '"');
    }

    /// Writes what the screen shows of the window, dialogs included.
    void picture(const char* name) const;

private:
    QWidget* findWidget(const char* name) const;
    QPixmap grab() const;

    QWidget* m_window;
    QString m_folder;
};
