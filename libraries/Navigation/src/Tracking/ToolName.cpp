#include "Tracking/ToolName.h"

#include <QtCore/QString>
#include <QtCore/QVector>

namespace vlr {

namespace {

bool isClean(uint character) {
    return QChar::isPrint(character) && character != QChar::ReplacementCharacter &&
           (character == ' ' || !QChar::isSpace(character));
}

} // namespace

std::string cleanText(const std::string& text, int longest) {
    QVector<uint> characters = QString::fromStdString(text).toUcs4().mid(0, longest);
    for (uint& character : characters)
        if (!isClean(character))
            character = '?';
    return QString::fromUcs4(characters.constData(), characters.size()).toStdString();
}

bool isToolName(const std::string& name) {
    return !name.empty() && name.size() <= longestToolName &&
           cleanText(name, static_cast<int>(longestToolName)) == name;
}

} // namespace vlr
