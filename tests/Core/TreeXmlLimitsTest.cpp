#include "IO/TreeXml.h"

#include <gtest/gtest.h>

// Reader and writer draw the line at the same length of an element.
TEST(TreeXmlLimits, ElementsThatAreTooLongAreNeitherReadNorWritten) {
    const vlr::TreeLimits limits{qint64(64) << 20};
    const int rest = QByteArray("<attribute name=\"a\" value=\"\"/>").size();
    for (const int excess : {0, 1}) {
        DataTreeNode root(QStringLiteral("DataItem"));
        root.appendAttribute(QStringLiteral("a"), QString((4 << 20) - rest + excess, u'x'));
        QByteArray document;
        EXPECT_EQ(vlr::writeTree(root, document, limits).isNull(), excess == 0);
        DataTreeNode read;
        const CaError error = vlr::readTree(vlr::writeTree(root), read, limits);
        EXPECT_EQ(error.isNull(), excess == 0) << error.text();
    }
}
