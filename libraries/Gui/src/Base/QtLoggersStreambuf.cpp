#include "Base/QtLoggersStreambuf.h"

__QtLoggersStreambuf::__QtLoggersStreambuf() = default;
__QtLoggersStreambuf::~__QtLoggersStreambuf() = default;

int __QtLoggersStreambuf::sync() {
    emit syncSI();
    return 0;
}

QString __QtLoggersStreambuf::take() {
    const QString text = QString::fromStdString(str());
    str({});
    return text;
}
