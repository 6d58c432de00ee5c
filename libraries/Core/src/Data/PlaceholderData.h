#pragma once

#include "Data/Data.h"
#include "Data/DataTreeNode.h"

/// Stands for a stored item of a class that nobody registered in this program, so that storing
/// the tree again loses nothing.
class PlaceholderData : public Data {
public:
    explicit PlaceholderData(const DataTreeNode& node);

    _vlr::StringMixer getClassId() const override;

protected:
    ~PlaceholderData() override;
    CaError doSave(DataTreeNode* node, QMap<QString, QString>& references) const override;

private:
    DataTreeNode m_node;
};
