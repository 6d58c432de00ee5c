#include "Settings/SettingsType.h"

namespace vlr {

SettingsType integerType(int minimum, int maximum) {
    SettingsType type;
    type.kind = SettingsType::Kind::Integer;
    type.minimum = minimum;
    type.maximum = maximum;
    return type;
}

SettingsType choiceType(const QStringList& choices, bool ignoresCase) {
    SettingsType type;
    type.kind = SettingsType::Kind::Choice;
    type.choices = choices;
    type.ignoresCase = ignoresCase;
    return type;
}

SettingsType acceptedType(bool (*accepts)(const QString&), const QString& expected) {
    SettingsType type;
    type.accepts = accepts;
    type.expected = expected;
    return type;
}

SettingsType vectorType(double minimum, double maximum) {
    SettingsType type;
    type.kind = SettingsType::Kind::Vector;
    type.minimum = minimum;
    type.maximum = maximum;
    return type;
}

} // namespace vlr
