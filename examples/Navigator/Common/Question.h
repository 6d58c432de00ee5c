#pragma once

#include <QtCore/QString>

class QWidget;

/// Asks about something that cannot be taken back: Enter and Escape say no. False as well when the
/// box could not be answered, because its window went. The text is shown as plain text.
bool confirm(QWidget* parent, const QString& title, const QString& text);
