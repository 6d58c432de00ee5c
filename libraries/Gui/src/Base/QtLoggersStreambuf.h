#pragma once

#include "vlrGuiExport.h"

#include <QtCore/QObject>
#include <QtCore/QString>

#include <sstream>

/// Collects what a stream writes and says when the stream is flushed. The buffer of the log
/// widgets; GUI thread only.
class VLR_GUI_EXPORT __QtLoggersStreambuf : public QObject, public std::stringbuf {
    Q_OBJECT

public:
    __QtLoggersStreambuf();
    ~__QtLoggersStreambuf() override;

    /// Emits syncSI(). Always 0.
    int sync() override;

    /// What was written since the last call, read as UTF-8.
    QString take();

signals:
    void syncSI();
};
