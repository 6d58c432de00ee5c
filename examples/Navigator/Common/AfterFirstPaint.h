#pragma once

#include <functional>

class QWidget;

/// Runs the action once, from the event loop, after the widget was painted for the first time.
/// What takes time at the start is done there, so that the window stands on the screen first.
///
///     afterFirstPaint(view, [this] { loadPatients(); });
void afterFirstPaint(QWidget* widget, std::function<void()> action);
