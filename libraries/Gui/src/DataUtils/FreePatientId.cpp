#include "DataUtils/FreePatientId.h"

#include "Data/PatientText.h"

#include <algorithm>

namespace vlr {

namespace {

// The number that the id is when it is padded to the width with "0"; -1 for any other text.
qint64 numberOf(const QString& id, int width) {
    if (id.size() > width)
        return -1;
    qint64 number = 0;
    for (const QChar character : id) {
        const int digit = character.unicode() - '0';
        if (digit < 0 || digit > 9)
            return -1;
        number = 10 * number + digit;
    }
    return number;
}

} // namespace

QString firstFreePatientId(const std::vector<QString>& ids, int maximum) {
    const int width = QString::number(maximum).size();
    // Among one more numbers than there are ids one is free.
    const auto count = std::min(ids.size() + 1, static_cast<std::size_t>(std::max(maximum, 0)));
    std::vector<bool> taken(count, false);
    for (const QString& id : ids) {
        const qint64 number = numberOf(normalizedId(id), width);
        if (number >= 0 && static_cast<std::size_t>(number) < count)
            taken[static_cast<std::size_t>(number)] = true;
    }
    const auto free = std::find(taken.begin(), taken.end(), false);
    if (free == taken.end())
        return {};
    return QString::number(free - taken.begin()).rightJustified(width, QLatin1Char('0'));
}

} // namespace vlr
