#pragma once

#include "Data/Data.h"

/// Stands for a stored item of a class that nobody registered in this program, so that storing
/// the tree again loses nothing: its attributes are all kept as unread, its children and binary
/// parts are those of any item.
class PlaceholderData : public Data {
public:
    explicit PlaceholderData(const QString& className);

    _vlr::StringMixer getClassId() const override;

protected:
    ~PlaceholderData() override;

private:
    _vlr::StringMixer m_className;
};
