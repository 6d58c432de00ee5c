#pragma once

#include "vlrCoreExport.h"

class Data;

/// Makes objects of one class of data. Factories are found by class name in Data::getFactory().
class VLR_CORE_EXPORT CaFactory {
public:
    CaFactory();
    CaFactory(const CaFactory& other);
    CaFactory& operator=(const CaFactory& other);
    virtual ~CaFactory();

    /// A new object with default values and a reference count of zero; the caller puts it
    /// into a DataPointer.
    virtual Data* createInstance() = 0;
};
