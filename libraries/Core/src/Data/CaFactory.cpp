#include "Data/CaFactory.h"

CaFactory::CaFactory() = default;
CaFactory::CaFactory(const CaFactory&) = default;
CaFactory& CaFactory::operator=(const CaFactory&) = default;
CaFactory::~CaFactory() = default;
