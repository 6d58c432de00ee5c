#include "Math/Vector3d.h"

#include <cmath>
#include <limits>
#include <locale>
#include <sstream>

namespace vlr {

std::string toText(const Vector3d& vector) {
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    stream.precision(std::numeric_limits<double>::max_digits10);
    stream << vector.x() << ' ' << vector.y() << ' ' << vector.z();
    return stream.str();
}

std::optional<Vector3d> vector3dFromText(const std::string& text) {
    std::string numbers = text;
    const auto first = numbers.find_first_not_of(" \t");
    const auto last = numbers.find_last_not_of(" \t");
    if (first == std::string::npos)
        return std::nullopt;
    numbers = numbers.substr(first, last - first + 1);
    if (numbers.size() > 1 && numbers.front() == '(' && numbers.back() == ')')
        numbers = numbers.substr(1, numbers.size() - 2);

    std::istringstream stream(numbers);
    stream.imbue(std::locale::classic());
    Vector3d vector;
    for (int i = 0; i < 3; ++i) {
        // A blank, a comma, or both between two numbers.
        if (i > 0 && (stream >> std::ws).peek() == ',')
            stream.ignore();
        if (!(stream >> vector[i]))
            return std::nullopt;
    }
    if (!(stream >> std::ws).eof())
        return std::nullopt;
    if (!vector.allFinite())
        return std::nullopt;
    return vector;
}

} // namespace vlr
